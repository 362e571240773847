// Finds the bytes that stand for Unicode text in an encoding, whichever form the text is in.
// Internal to the text converters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreFoundation/CFStringTranscoder.h"

namespace lumivane::text {

struct Repertoire;

/// The search within one text, which has to outlive it.
///
/// The text is taken apart into clusters (a character with all that joins it), decomposed. An
/// encoding's characters are looked for as long as possible: several clusters that mean one
/// character, a cluster, a part of one with the rest after it.
class Matcher {
 public:
  Matcher(const cftext::EncodingInfo& encoding, std::u16string_view text);

  /// The bytes for the text at `start` (0 or what the last call returned), and the end of what they
  /// stand for; `start` when the encoding has no form for it. `loose` also takes characters for
  /// each other that differ in meaning or in form alone.
  std::size_t Match(std::size_t start, bool loose, std::string& bytes) const;
  std::size_t ClusterEnd(std::size_t start) const;

 private:
  struct Cluster {
    std::size_t start;
    std::size_t end;
    std::size_t decomposedStart;
    std::size_t decomposedEnd;
  };
  const Cluster& ClusterAt(std::size_t start) const;
  bool MatchCluster(std::u16string_view decomposed, std::string& bytes) const;

  const cftext::EncodingInfo& mEncoding;
  const Repertoire* mRepertoire;  ///< null for encodings of several bytes that are the library's
  std::u16string_view mText;
  std::u16string mDecomposed;
  std::vector<Cluster> mClusters;
};

}  // namespace lumivane::text
