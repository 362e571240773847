#include "platform/CoreServices/AliasRecord.h"

#include <algorithm>

#include "platform/CoreServices/BigEndian.h"
#include "platform/CoreServices/FileNames.h"

namespace lumivane::files {

namespace {

enum : UInt16 {
  kTagFolderName = 0,
  kTagFolderNumbers = 1,
  kTagColonPath = 2,
  kTagName = 14,
  kTagVolumeName = 15,
  kTagVolumeDate = 16,
  kTagDate = 17,
  kTagPath = 18,
  kTagMountPoint = 19,
  kTagRelativePath = 'LR',
  kTagIdentities = 'LI',
  kTagEnd = 0xffff,
};

constexpr std::size_t kVolumeNameRoom = 27;
constexpr std::size_t kNameRoom = 63;
constexpr std::size_t kIdentitySize = 20;

std::string Text(const UInt8* bytes, std::size_t length) {
  return {reinterpret_cast<const char*>(bytes), length};
}

bool HasNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

/// A counted UTF-16 name; false when the count is wrong or no object could have it.
bool ReadName(const UInt8* bytes, std::size_t length, std::string* name) {
  if (length < 2) return false;
  const std::size_t count = Get16(bytes);
  if (count * 2 > length - 2 || count > 255) return false;
  HFSUniStr255 units{};
  units.length = static_cast<UInt16>(count);
  for (std::size_t i = 0; i < count; ++i) units.unicode[i] = Get16(bytes + 2 + i * 2);
  return NameFromUnits(units.length, units.unicode, NameUse::kFind, name) == noErr;
}

Identity ReadIdentity(const UInt8* bytes) {
  return {Get64(bytes + 4), Get64(bytes + 12), Get32(bytes)};
}

bool ReadPiece(UInt16 tag, const UInt8* bytes, std::size_t length, AliasInfo* info) {
  switch (tag) {
    case kTagFolderName:
      info->folderName = Text(bytes, length);
      return true;
    case kTagFolderNumbers:
      if (length % 4 != 0) return false;
      for (std::size_t i = 0; i < length; i += 4) info->folderNumbers.push_back(Get32(bytes + i));
      return true;
    case kTagColonPath:
      info->colonPath = Text(bytes, length);
      return true;
    case kTagName:
      return ReadName(bytes, length, &info->name);
    case kTagVolumeName:
      return ReadName(bytes, length, &info->volumeName);
    case kTagVolumeDate:
      if (length != 8) return false;
      info->volumeDate = Get64(bytes);
      return true;
    case kTagDate:
      if (length != 8) return false;
      info->date = Get64(bytes);
      return true;
    case kTagPath:
      info->path = Text(bytes, length);
      return !HasNul(info->path);
    case kTagMountPoint:
      info->mountPoint = Text(bytes, length);
      return !HasNul(info->mountPoint);
    case kTagRelativePath:
      info->relativePath = Text(bytes, length);
      return !HasNul(info->relativePath);
    case kTagIdentities:
      if (length != 2 * kIdentitySize) return false;
      info->object = ReadIdentity(bytes);
      info->folder = ReadIdentity(bytes + kIdentitySize);
      return true;
    default:
      return true;
  }
}

class RecordWriter {
 public:
  RecordWriter() : bytes_(kAliasHeadSize) {}
  UInt8* head() { return bytes_.data(); }

  void Piece(UInt16 tag, const std::string& text) {
    if (text.size() > 0xffff) {
      tooLong_ = true;
      return;
    }
    UInt8 front[4];
    Put16(front, tag);
    Put16(front + 2, static_cast<UInt16>(text.size()));
    bytes_.insert(bytes_.end(), front, front + 4);
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    if (text.size() % 2 != 0) bytes_.push_back(0);
  }
  void PieceIf(UInt16 tag, const std::string& text) {
    if (!text.empty()) Piece(tag, text);
  }
  void Name(UInt16 tag, const std::string& name) {
    const HFSUniStr255 units = UnitsOfName(name);
    std::string text(2 + units.length * 2u, '\0');
    auto* at = reinterpret_cast<UInt8*>(text.data());
    Put16(at, units.length);
    for (UInt16 i = 0; i < units.length; ++i) Put16(at + 2 + i * 2, units.unicode[i]);
    Piece(tag, text);
  }
  void Number64(UInt16 tag, UInt64 value) {
    std::string text(8, '\0');
    Put64(reinterpret_cast<UInt8*>(text.data()), value);
    Piece(tag, text);
  }
  std::optional<std::vector<UInt8>> Finish() {
    Piece(kTagEnd, {});
    if (tooLong_ || bytes_.size() > 0xffff) return std::nullopt;
    Put16(bytes_.data() + 4, static_cast<UInt16>(bytes_.size()));
    return std::move(bytes_);
  }

 private:
  std::vector<UInt8> bytes_;
  bool tooLong_ = false;
};

void PutPascal(UInt8* at, std::size_t room, const std::string& text) {
  const std::size_t length = std::min(text.size(), room);
  at[0] = static_cast<UInt8>(length);
  std::copy_n(text.data(), length, at + 1);
}

void PutIdentity(UInt8* at, const Identity& id) {
  Put32(at, id.device);
  Put64(at + 4, id.inode);
  Put64(at + 12, id.stamp);
}

}  // namespace

bool ParseAliasRecord(const UInt8* bytes, std::size_t size, AliasInfo* info) {
  if (size < kAliasHeadSize || Get16(bytes + 6) != 2) return false;
  const std::size_t length = Get16(bytes + 4);
  if (length < kAliasHeadSize || length > size) return false;
  if (bytes[10] > kVolumeNameRoom || bytes[50] > kNameRoom) return false;
  AliasInfo parsed;
  parsed.userType = Get32(bytes);
  parsed.isFolder = Get16(bytes + 8) != 0;
  parsed.volumeName = NameFromMacRoman(Text(bytes + 11, bytes[10]));
  // A name that no volume here can have leads nowhere; its Unicode form may still be good.
  const HFSUniStr255 units = UnitsOfName(parsed.volumeName);
  if (NameFromUnits(units.length, units.unicode, NameUse::kFind, &parsed.volumeName) != noErr) {
    parsed.volumeName.clear();
  }
  parsed.volumeDate = static_cast<UInt64>(Get32(bytes + 38)) << 16;
  parsed.folderNumber = Get32(bytes + 46);
  parsed.shortName = Text(bytes + 51, bytes[50]);
  parsed.number = Get32(bytes + 114);
  parsed.date = static_cast<UInt64>(Get32(bytes + 118)) << 16;
  parsed.type = Get32(bytes + 122);
  parsed.creator = Get32(bytes + 126);
  parsed.levelsUp = static_cast<SInt16>(Get16(bytes + 130));
  parsed.levelsDown = static_cast<SInt16>(Get16(bytes + 132));
  for (std::size_t at = kAliasHeadSize; at + 4 <= length;) {
    const UInt16 tag = Get16(bytes + at);
    const std::size_t count = Get16(bytes + at + 2);
    if (tag == kTagEnd) break;
    at += 4;
    if (count > length - at) return false;
    if (!ReadPiece(tag, bytes + at, count, &parsed)) return false;
    at += count + count % 2;
  }
  *info = std::move(parsed);
  return true;
}

std::optional<std::vector<UInt8>> WriteAliasRecord(const AliasInfo& info) {
  RecordWriter writer;
  UInt8* head = writer.head();
  std::string volume;
  if (!MacRomanOfName(info.volumeName, &volume)) volume.clear();
  Put32(head, info.userType);
  Put16(head + 6, 2);
  Put16(head + 8, info.isFolder ? 1 : 0);
  PutPascal(head + 10, kVolumeNameRoom, volume);
  Put32(head + 38, static_cast<UInt32>(info.volumeDate >> 16));
  Put16(head + 42, 'H+');
  Put32(head + 46, info.folderNumber);
  PutPascal(head + 50, kNameRoom, info.shortName);
  Put32(head + 114, info.number);
  Put32(head + 118, static_cast<UInt32>(info.date >> 16));
  Put32(head + 122, info.type);
  Put32(head + 126, info.creator);
  Put16(head + 130, static_cast<UInt16>(info.levelsUp));
  Put16(head + 132, static_cast<UInt16>(info.levelsDown));

  writer.PieceIf(kTagFolderName, info.folderName);
  std::string numbers(info.folderNumbers.size() * 4, '\0');
  for (std::size_t i = 0; i < info.folderNumbers.size(); ++i) {
    Put32(reinterpret_cast<UInt8*>(numbers.data()) + i * 4, info.folderNumbers[i]);
  }
  writer.PieceIf(kTagFolderNumbers, numbers);
  writer.PieceIf(kTagColonPath, info.colonPath);
  if (!info.name.empty()) writer.Name(kTagName, info.name);
  if (!info.volumeName.empty()) writer.Name(kTagVolumeName, info.volumeName);
  writer.Number64(kTagVolumeDate, info.volumeDate);
  writer.Number64(kTagDate, info.date);
  writer.PieceIf(kTagPath, info.path);
  writer.PieceIf(kTagMountPoint, info.mountPoint);
  writer.PieceIf(kTagRelativePath, info.relativePath);
  std::string identities(2 * kIdentitySize, '\0');
  PutIdentity(reinterpret_cast<UInt8*>(identities.data()), info.object);
  PutIdentity(reinterpret_cast<UInt8*>(identities.data()) + kIdentitySize, info.folder);
  writer.Piece(kTagIdentities, identities);
  return writer.Finish();
}

}  // namespace lumivane::files
