/* The card-side program that offload_host starts: it tells the host it is loaded, waits until the
 * host lets it work, computes, prints and exits by itself.
 *
 * Usage (by offload_host): offload_card READY_FD GO_FD INPUT */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static int card_work(int input) {
  int total = 0;
  for (int i = 1; i <= input; i++)
    total += i * i;  /* a line of its own: a breakpoint here is hit on every round */
  return total;
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const int ready = atoi(argv[1]), go = atoi(argv[2]), input = atoi(argv[3]);
  char byte = 0;
  if (write(ready, "r", 1) != 1 || read(go, &byte, 1) != 1) return 1;
  printf("card: work(%d) = %d\n", input, card_work(input));
  return 0;
}
