// The calls of the C library the layers above the platform may use for paths, folders and memory
// protection: access, unlink, rmdir, symlink, chdir, getcwd, mprotect, and errno.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
