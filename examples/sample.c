/* A small program to debug: a loop that calls two functions, then a helper thread that fills in
   a point. */
#include <pthread.h>
#include <stdio.h>

struct point {
  int x;
  int y;
};

static int square(int x) { return x * x; }

static void *fill_point(void *arg) {
  struct point *p = arg;
  p->y = square(p->x);
  p->x = -p->x;
  return NULL;
}

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
  struct point corner = {3, 0};
  pthread_t helper;
  if (pthread_create(&helper, NULL, fill_point, &corner) != 0) return 1;
  pthread_join(helper, NULL);
  printf("corner: %d %d\n", corner.x, corner.y);
  return total > 0 ? 0 : 1;
}
