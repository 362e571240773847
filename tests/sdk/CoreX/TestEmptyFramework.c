// A framework's executable without any of the functions looked for in it.
extern const int test_empty_framework;
const int test_empty_framework = 1;
