// What must hold before a file is given to the dynamic loader, which trusts it: it maps what the
// file's headers say, and a file cut short would end the process when that is read.
#pragma once

#include <string>

/// Whether the file at `path` is a complete shared library for this machine: an ELF file of type
/// ET_DYN with this program's class, byte order and machine, whose program headers, loaded
/// segments and section table, if it has one, lie within the file. `error` says what is wrong.
bool SharedLibraryCheck(const std::string& path, std::string& error);
