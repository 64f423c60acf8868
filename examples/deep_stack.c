/* A program with a deep stack: it writes a prompt without a line end, then recurses COUNT levels
   (default 10000) down to bottom(). */
#include <stdio.h>
#include <stdlib.h>

static int bottom(int level) { return level; }

static int descend(int level, int count) {
  if (level == count) return bottom(level);
  return descend(level + 1, count);
}

int main(int argc, char **argv) {
  int count = argc > 1 ? atoi(argv[1]) : 10000;
  printf("depth? ");
  fflush(stdout);
  return descend(0, count) == count ? 0 : 1;
}
