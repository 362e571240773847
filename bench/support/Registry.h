// For main: what the groups of bench/operations have added.
#pragma once

namespace bench {

/// Runs every Group and registers its operations with the benchmark library.
void RegisterAllOperations();

}  // namespace bench
