#include "platform/CoreServices/TextMatcher.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <unordered_map>

#include "platform/CoreServices/UnicodeForms.h"

namespace lumivane::text {

/// All that an encoding can express, decomposed as HFS Plus does, and the first bytes that do.
struct Repertoire {
  std::unordered_map<std::u16string, std::string> bytes;
  std::size_t longest = 0;

  void Add(std::u16string text, const std::string& form) {
    longest = std::max(longest, text.size());
    bytes.try_emplace(std::move(text), form);
  }
  const std::string* Find(std::u16string_view text) const {
    const auto found = bytes.find(std::u16string(text));
    return found != bytes.end() ? &found->second : nullptr;
  }
};

namespace {

using cftext::EncodingInfo;
using cftext::Scheme;

const Repertoire* MakeRepertoire(const EncodingInfo& info) {
  std::vector<std::pair<std::u16string, std::string>> all;
  const auto look = [&](const std::string& form) {
    std::u16string text;
    const auto* start = reinterpret_cast<const UInt8*>(form.data());
    if (!cftext::Decode(info, {start, form.size()}, false, text)) return false;
    all.emplace_back(std::move(text), form);
    return true;
  };
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string single(1, static_cast<char>(byte));
    if (look(single) || cftext::MaximumSize(info, 1) == 1) continue;
    for (unsigned second = 0; second < 256; ++second) look(single + static_cast<char>(second));
  }
  auto* repertoire = new Repertoire;
  // What a character is comes before what it decomposes to, should both be in the encoding.
  for (const auto& [text, form] : all) repertoire->Add(text, form);
  for (const auto& [text, form] : all) {
    repertoire->Add(Normalize(Form::kHFSDecomposed, text), form);
  }
  return repertoire;
}

// Made at first use and never destroyed. Null for the library's encodings of several bytes, whose
// characters are not that easily told.
const Repertoire* RepertoireOf(const EncodingInfo& info) {
  if (info.scheme != Scheme::kTable && cftext::MaximumSize(info, 1) != 1) return nullptr;
  static std::mutex& lock = *new std::mutex;
  static auto& known = *new std::map<CFStringEncoding, const Repertoire*>;
  const std::lock_guard guard(lock);
  const Repertoire*& repertoire = known[info.encoding];
  if (repertoire == nullptr) repertoire = MakeRepertoire(info);
  return repertoire;
}

// Characters that stand for each other where an encoding has only one of them.
struct Loose {
  char16_t character;
  char16_t instead;
};
constexpr Loose kLoose[] = {
    {0x2010, '-'},    {0x2011, '-'},    {0x2212, '-'},    {0x00AD, '-'},    {0x2032, '\''},
    {0x2033, '"'},    {0x02BC, 0x2019}, {0x2223, '|'},    {0x223C, '~'},    {0x00A0, ' '},
    {0x202F, 0x00A0}, {0x03BC, 0x00B5}, {0x00B5, 0x03BC}, {0x03A9, 0x2126}, {0x2126, 0x03A9},
    {0x0394, 0x2206}, {0x2206, 0x0394}, {0x03A3, 0x2211}, {0x2211, 0x03A3}, {0x03A0, 0x220F},
    {0x220F, 0x03A0}, {0x2219, 0x00B7}, {0x00B7, 0x2219}, {0x02C9, 0x00AF}, {0x00AF, 0x02C9},
};

std::u16string Loosened(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& unit : out) {
    for (const Loose& loose : kLoose) {
      if (loose.character == unit) {
        unit = loose.instead;
        break;
      }
    }
  }
  return out;
}

}  // namespace

Matcher::Matcher(const EncodingInfo& encoding, std::u16string_view text)
    : mEncoding(encoding), mRepertoire(RepertoireOf(encoding)), mText(text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = lumivane::text::ClusterEnd(text, at);
    const std::size_t before = mDecomposed.size();
    mDecomposed += Normalize(Form::kHFSDecomposed, text.substr(at, end - at));
    mClusters.push_back({at, end, before, mDecomposed.size()});
    at = end;
  }
}

const Matcher::Cluster& Matcher::ClusterAt(std::size_t start) const {
  return *std::lower_bound(
      mClusters.begin(), mClusters.end(), start,
      [](const Cluster& cluster, std::size_t value) { return cluster.start < value; });
}

std::size_t Matcher::ClusterEnd(std::size_t start) const {
  return ClusterAt(start).end;
}

bool Matcher::MatchCluster(std::u16string_view decomposed, std::string& bytes) const {
  bytes.clear();
  if (mRepertoire == nullptr) {
    for (const Form form : {Form::kHFSComposed, Form::kAsIs, Form::kComposed}) {
      const std::u16string composed = Normalize(form, decomposed);
      const cftext::Encoded encoded = cftext::Encode(
          mEncoding, composed, 0, false, cftext::MaximumSize(mEncoding, composed.size()));
      if (encoded.units == composed.size()) {
        bytes.assign(encoded.bytes.begin(), encoded.bytes.end());
        return true;
      }
    }
    return false;
  }
  while (!decomposed.empty()) {
    std::size_t length = std::min(decomposed.size(), mRepertoire->longest);
    const std::string* form = nullptr;
    while (length > 0 && (form = mRepertoire->Find(decomposed.substr(0, length))) == nullptr) {
      --length;
    }
    if (form == nullptr) return false;
    bytes += *form;
    decomposed.remove_prefix(length);
  }
  return true;
}

std::size_t Matcher::Match(std::size_t start, bool loose, std::string& bytes) const {
  const Cluster& first = ClusterAt(start);
  const std::u16string_view all = mDecomposed;
  if (mRepertoire != nullptr) {
    // Several clusters that are one character.
    const Cluster* last = &first;
    while (last + 1 < mClusters.data() + mClusters.size() &&
           (last + 1)->decomposedEnd - first.decomposedStart <= mRepertoire->longest) {
      ++last;
    }
    for (; last > &first; --last) {
      const std::string* form = mRepertoire->Find(
          all.substr(first.decomposedStart, last->decomposedEnd - first.decomposedStart));
      if (form != nullptr) {
        bytes = *form;
        return last->end;
      }
    }
  }
  const std::u16string_view decomposed =
      all.substr(first.decomposedStart, first.decomposedEnd - first.decomposedStart);
  if (MatchCluster(decomposed, bytes)) return first.end;
  // The cluster as it was given, should the encoding tell it from what it decomposes to.
  if (MatchCluster(mText.substr(first.start, first.end - first.start), bytes)) return first.end;
  if (loose) {
    if (MatchCluster(Normalize(Form::kDecomposed, decomposed), bytes) ||
        MatchCluster(Loosened(decomposed), bytes)) {
      return first.end;
    }
  }
  bytes.clear();
  return start;
}

}  // namespace lumivane::text
