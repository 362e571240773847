int test_component_answer(void);
int test_component_answer(void) {
  return 42;
}
