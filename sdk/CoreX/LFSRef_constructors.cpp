// What does nothing but hand on; apart from LFSRef.cpp, which names itself in the log.
#include <cstring>

#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/XFileName.h"

void LFSRef_data_t::Empty() {
  std::memset(static_cast<void*>(this), 0, sizeof(*this));
}

LFSRef_data_t& LFSRef_data_t::operator=(const LFSRef& file) {
  file.GetData(*this);
  return *this;
}

LFSRef_data_t& LFSRef_data_t::operator=(const FSSpec& spec) {
  return *this = LFSRef(spec);
}

LFSRef::LFSRef(const LFSRef& copyOf, bool normalize) {
  Construct(copyOf, normalize);
}

LFSRef::LFSRef(const char* in_unix_path) {
  Construct(in_unix_path);
}

LFSRef::LFSRef(const FSRef* theFileRef) {
  Construct(theFileRef);
}

LFSRef::LFSRef(const FSRef& theFileRef) : LFSRef(&theFileRef) {}

LFSRef::LFSRef(const FSRef* parentRef, const LHFSUnicodeName& unicode_subpath) {
  Construct(parentRef, unicode_subpath);
}

LFSRef::LFSRef(const FSRef* parentRef, const char* subpath) {
  Construct(parentRef, subpath);
}

LFSRef::LFSRef(const FSRef* parentRef, const std::string& subpath) {
  Construct(parentRef, subpath);
}

LFSRef::LFSRef(const LFSRef_data_t& in_data) {
  Construct(in_data);
}

LFSRef::LFSRef(const FSSpec& in_file_spec) {
  Construct(in_file_spec);
}

LFSRef::LFSRef(const FSSpec& in_file_spec, const unsigned char* in_name) {
  Construct(in_file_spec, in_name);
}

LFSRef::LFSRef(const FSSpec& in_file_spec, const char* in_name) {
  Construct(in_file_spec, in_name);
}

LFSRef::LFSRef(const XFileName& in_file_name) : LFSRef(static_cast<const LFSRef&>(in_file_name)) {}

LFSRef::~LFSRef() = default;
