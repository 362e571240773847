#include "platform/CoreServices/FileErrors.h"

#include <cerrno>

#include "platform/CoreServices/Files.h"

namespace lumivane::files {

OSErr ErrorOf(int error) {
  switch (error) {
    case 0:
      return noErr;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ESTALE:
      return fnfErr;
    case EACCES:
      return afpAccessDenied;
    case EPERM:
      return permErr;
    case EEXIST:
      return dupFNErr;
    case ENOTEMPTY:
    case EBUSY:
    case ETXTBSY:
      return fBsyErr;
    case ENAMETOOLONG:
      return errFSNameTooLong;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return dskFulErr;
    case EROFS:
      return wPrErr;
    case EMFILE:
    case ENFILE:
      return tmfoErr;
    case ENOMEM:
      return memFullErr;
    case EXDEV:
      return diffVolErr;
    case EINVAL:
      return paramErr;
    case EISDIR:
      return notAFileErr;
    default:
      return ioErr;
  }
}

}  // namespace lumivane::files
