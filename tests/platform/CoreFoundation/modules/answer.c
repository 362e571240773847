/* A module that answers ANSWER. */
int answer(void);
int __public_fn2(void* record);
extern int answer_data;

int answer_data = ANSWER * 11;

int answer(void) {
  return ANSWER;
}

int __public_fn2(void* record) {
  (void)record;
  return ANSWER;
}
