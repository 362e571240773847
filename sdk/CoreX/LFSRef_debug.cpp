#include <cstdio>
#include <string>

#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreCString.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LFSRef.h"

void LFSRef::CoreDebugGetContents(const char* label, char (&buffer)[kDebugBufferSize],
                                  bool with_hex) const {
  const char* state = "????";
  switch (mState) {
    case State_Invalid:
      state = "State_Invalid '0'";
      break;
    case State_Exists:
      state = "State_Exists '1'";
      break;
    case State_HasLatentPath:
      state = "State_HasLatentPath '2'";
      break;
    case State_ExistsWithLatentPath:
      state = "State_ExistsWithLatentPath '3'";
      break;
  }
  std::string path;
  if (!bool_FSRef_GetUnixPath(mFSRef, path)) path = "(empty)";
  CoreCString hex;
  if (with_hex) hex.HexData(&mFSRef, sizeof(mFSRef), 0);
  std::snprintf(buffer, sizeof(buffer),
                "%s\n LFSRef contents = { mState:%s\nmLatentPath:%s\nmFSRef:%s\nmFSRef:%s \n}\n",
                label != nullptr ? label : "", state, mLatentPath.c_str(), path.c_str(),
                hex.c_str() != nullptr ? hex.c_str() : "");
}

void LFSRef::CoreDebugPrint(const char* label) const {
  char buffer[kDebugBufferSize];
  CoreDebugGetContents(label, buffer, false);
  CoreMachDebugLog("%s", buffer);
}
