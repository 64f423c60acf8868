/* A small program for recording engine MI output: two threads, a struct, an array, a string
   with quotes and backslashes, and a few nested calls. */
#include <pthread.h>
#include <stdio.h>

struct point {
  int x;
  double y;
  const char* label;
};

static int counter;

static int square(int value) {
  int result = value * value;
  counter += result;
  return result;
}

static int sum_squares(int n) {
  int total = 0;
  for (int i = 1; i <= n; ++i)
    total += square(i);
  return total;
}

static void* worker(void* arg) {
  struct point* p = arg;
  p->x = sum_squares(3);
  return NULL;
}

int main(void) {
  struct point p = {1, 2.5, "say \"hi\" \\ bye"};
  int values[4] = {10, 20, 30, 40};
  pthread_t thread;
  pthread_create(&thread, NULL, worker, &p);
  pthread_join(thread, NULL);
  values[0] = sum_squares(2);
  printf("%d %d %s\n", p.x, values[0], p.label);
  return 0;
}
