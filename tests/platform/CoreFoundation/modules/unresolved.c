/* A module that cannot be loaded: it needs a function nobody has. */
int a_function_that_is_nowhere(void);
int answer(void);

int answer(void) {
  return a_function_that_is_nowhere();
}
