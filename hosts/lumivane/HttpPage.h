// The page that shows the stream in a browser. It needs nothing from anywhere else.
#pragma once

#include <string>

namespace lumivane {

struct PageFile {
  const char* path;
  const char* type;
  const char* bytes;
};

/// Null for a path that is none of the page's.
const PageFile* FindPageFile(const std::string& path);

}  // namespace lumivane
