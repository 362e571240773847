/* The System.framework of this platform: it stands for the C library, which it is linked against.
   Names looked up in it ("mprotect", "chdir", "getcwd") are therefore found in the C library. */

/* The version of the system whose interfaces the platform provides, as Gestalt answers it. */
extern const unsigned int SystemFrameworkVersion;
const unsigned int SystemFrameworkVersion = 0x1048;
