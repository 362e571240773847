// The encodings converted by tables of our own.
#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/CoreFoundation/CFStringMacTables.h"
#include "platform/CoreFoundation/CFStringTranscoder.h"

namespace cftext {

namespace {

constexpr std::size_t kMostTables = 32;

struct Sequence {
  std::u16string_view text;
  UInt16 code;
};

// A table as it is searched.
struct Index {
  std::array<const MacRow*, 256> rows = {};  ///< by lead byte; that of single bytes at 0
  std::span<const MacSequence> sequences;    ///< by code
  std::unordered_map<char16_t, UInt16> codes;
  std::unordered_map<char16_t, std::vector<Sequence>> starting;  ///< by first unit, longest first
};

// A byte has no second one when the row of single bytes knows it, so codes below 256 are single.
const Index* MakeIndex(const MacTable& table) {
  auto* index = new Index;
  index->sequences = table.sequences;
  for (const MacRow& row : table.rows) {
    index->rows[row.lead] = &row;
    for (UInt16 i = 0; i < row.count; ++i) {
      if (row.units[i] == kMacNone || row.units[i] == kMacSequence) continue;
      // The first of several codes is the one to write.
      index->codes.try_emplace(row.units[i], static_cast<UInt16>(row.lead << 8 | (row.first + i)));
    }
  }
  for (const MacSequence& sequence : table.sequences) {
    index->starting[sequence.text[0]].push_back({sequence.text, sequence.code});
  }
  for (auto& [first, sequences] : index->starting) {
    std::stable_sort(sequences.begin(), sequences.end(), [](const Sequence& a, const Sequence& b) {
      return a.text.size() > b.text.size();
    });
  }
  return index;
}

// Made at first use and never destroyed.
const Index& Look(const EncodingInfo& info) {
  static std::atomic<const Index*> entries[kMostTables];
  static std::mutex& lock = *new std::mutex;
  const std::span<const MacTable> tables = AllMacTables();
  const auto table = std::find_if(tables.begin(), tables.end(), [&](const MacTable& candidate) {
    return candidate.encoding == info.encoding;
  });
  std::atomic<const Index*>& entry = entries[table - tables.begin()];
  const Index* index = entry.load(std::memory_order_acquire);
  if (index == nullptr) {
    const std::lock_guard guard(lock);
    index = entry.load(std::memory_order_relaxed);
    if (index == nullptr) {
      index = MakeIndex(*table);
      entry.store(index, std::memory_order_release);
    }
  }
  return *index;
}

char16_t UnitAt(const MacRow* row, UInt8 byte) {
  if (row == nullptr || byte < row->first || byte - row->first >= row->count) return kMacNone;
  return row->units[byte - row->first];
}

bool Append(const Index& index, char16_t unit, UInt16 code, std::u16string& out) {
  if (unit == kMacNone) return false;
  if (unit != kMacSequence) {
    out += unit;
    return true;
  }
  const auto found = std::lower_bound(
      index.sequences.begin(), index.sequences.end(), code,
      [](const MacSequence& sequence, UInt16 value) { return sequence.code < value; });
  out += found->text;
  return true;
}

const Sequence* FindSequence(const Index& index, std::u16string_view text) {
  const auto group = index.starting.find(text[0]);
  if (group == index.starting.end()) return nullptr;
  const auto found =
      std::find_if(group->second.begin(), group->second.end(),
                   [&](const Sequence& each) { return text.starts_with(each.text); });
  return found != group->second.end() ? &*found : nullptr;
}

}  // namespace

bool TableDecode(const EncodingInfo& info, std::span<const UInt8> bytes, std::u16string& out) {
  const Index& index = Look(info);
  std::size_t i = 0;
  while (i < bytes.size()) {
    const UInt8 byte = bytes[i++];
    if (Append(index, UnitAt(index.rows[0], byte), byte, out)) continue;
    if (byte == 0 || index.rows[byte] == nullptr || i == bytes.size()) return false;
    const UInt8 second = bytes[i++];
    const auto code = static_cast<UInt16>(byte << 8 | second);
    if (!Append(index, UnitAt(index.rows[byte], second), code, out)) return false;
  }
  return true;
}

Encoded TableEncode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte,
                    std::size_t limit) {
  const Index& index = Look(info);
  Encoded result{0, {}};
  while (result.units < text.size()) {
    const std::u16string_view rest = text.substr(result.units);
    UInt16 code = lossByte;
    std::size_t taken = 1;
    if (const Sequence* sequence = FindSequence(index, rest)) {
      code = sequence->code;
      taken = sequence->text.size();
    } else if (const auto found = index.codes.find(rest[0]); found != index.codes.end()) {
      code = found->second;
    } else if (lossByte == 0) {
      break;
    } else if (rest.size() > 1 && (rest[0] & 0xFC00) == 0xD800 && (rest[1] & 0xFC00) == 0xDC00) {
      taken = 2;  // a pair is one character, and one byte of loss
    }
    const std::size_t size = code > 0xFF ? 2 : 1;
    if (limit - result.bytes.size() < size) break;
    if (size == 2) result.bytes.push_back(static_cast<UInt8>(code >> 8));
    result.bytes.push_back(static_cast<UInt8>(code));
    result.units += taken;
  }
  return result;
}

std::size_t TableMaximumSize(const EncodingInfo& info, std::size_t length) {
  const std::span<const MacTable> tables = AllMacTables();
  const auto table = std::find_if(tables.begin(), tables.end(), [&](const MacTable& candidate) {
    return candidate.encoding == info.encoding;
  });
  return table->rows.size() > 1 ? 2 * length : length;
}

}  // namespace cftext
