/* A small program to debug: a loop that calls two functions. */
#include <stdio.h>

static int square(int x) { return x * x; }

static int sum_of_squares(int count) {
  int total = 0;
  for (int i = 1; i <= count; i++) total += square(i);
  return total;
}

int main(void) {
  int total = 0;
  for (int round = 0; round < 3; round++) {
    total += sum_of_squares(round + 2);
    printf("round %d: %d\n", round, total);
  }
  return total > 0 ? 0 : 1;
}
