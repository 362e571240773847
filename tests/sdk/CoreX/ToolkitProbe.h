// The functions of the probe module: a module that carries a toolkit of its own, in its first state
// each time a new copy of it is loaded.
#pragma once

#include <string>

extern "C" {

// The log.
void probe_log_set_file_name(const char* name);
void probe_log_set_prefix(const char* prefix);
void probe_log_set_output(int output);
bool probe_log_initialize();
void probe_log_string(const char* text);
/// Logs one failed check.
void probe_log_verify();
const char* probe_log_file_path();

/// Throws as a typed holder does; the exception is to be caught outside of the module.
void probe_throw_type_exception();
void probe_throw_core_exception();

/// What the module's static initialisers found: bits that are all set when everything they used was
/// there.
unsigned probe_static_results();
/// Where the module's static destructors write that what they used was still there. May be null.
void probe_report_end_to(unsigned* results);
/// Loads System.framework through the toolkit's own loader, and uses it.
bool probe_use_system_framework();
/// Has the module share 64 large rows among so many threads of its own; the rows it saw.
int probe_work_with_threads(unsigned threads);
}

inline constexpr unsigned kProbeSawAll = 0x3F;
