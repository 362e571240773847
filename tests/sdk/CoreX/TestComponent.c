// A bundle's executable with functions of the types the loader is used for.
#include <stddef.h>

#ifndef TEST_COMPONENT_ANSWER
#define TEST_COMPONENT_ANSWER 42
#endif

int test_answer(void);
int test_length(const char* text);
void test_set(int* out, long long value);
char* test_echo(char* text, size_t size);

int test_answer(void) {
  return TEST_COMPONENT_ANSWER;
}

int test_length(const char* text) {
  int length = 0;
  while (text[length] != '\0') ++length;
  return length;
}

void test_set(int* out, long long value) {
  *out = (int)value;
}

char* test_echo(char* text, size_t size) {
  return size > 0 ? text : NULL;
}
