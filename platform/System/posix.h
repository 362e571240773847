// The calls of the C library the layers above the platform may use for paths, folders, memory
// protection and threads: access, unlink, rmdir, symlink, chdir, getcwd, mprotect, getpid,
// pthread_sigmask, and errno.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
