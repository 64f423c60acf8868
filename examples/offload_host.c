/* A host program that offloads work to a coprocessor card, as an offload runtime does: it starts
 * the card-side program (offload_card) as a process of its own, stores the card id, that
 * process's id and its executable's name where a debugger looks for them, calls the offload
 * symbol __zub_target_so_loaded, and only then lets the card-side process work. A debugger that
 * attaches to the card-side process at that call stops at card-side breakpoints. The card-side
 * process ends by itself; the host waits for it.
 *
 * Usage: offload_host [COUNT [WORK [together]]]   offloads COUNT times (default 1), one card-side
 * process each; WORK is the size of the card-side work (default: 3 more than the offload's
 * number). With "together" all COUNT card-side processes are started and announced first, then
 * all work at once, so that several are alive together. */
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef OFFLOAD_CARD_EXE
#define OFFLOAD_CARD_EXE "offload_card"
#endif

/* Read by the debugger at the offload symbol. The name is an array of exactly its text, so that
 * the debugger prints it as one quoted string. */
unsigned int __zub_target_id;
int __zub_target_so_pid;
char __zub_target_exe_name[] = OFFLOAD_CARD_EXE;
static int work;

/* The offload symbol: called once the card-side process is loaded and has not started work. */
__attribute__((noinline)) void __zub_target_so_loaded(void) { __asm__ volatile(""); }

/* Starts the card-side program; it says it is ready on `ready` and waits for a byte on `go`. */
static pid_t start_card(int round, int ready[2], int go[2]) {
  if (pipe(ready) != 0 || pipe(go) != 0) return -1;
  const pid_t pid = fork();
  if (pid == 0) {
    char ready_fd[16], go_fd[16], input[16];
    snprintf(ready_fd, sizeof ready_fd, "%d", ready[1]);
    snprintf(go_fd, sizeof go_fd, "%d", go[0]);
    snprintf(input, sizeof input, "%d", work > 0 ? work : round + 3);
    close(ready[0]);
    close(go[1]);
    /* A card-side process leads a process group of its own, as one that the card starts does:
     * the card's debug server interrupts a program by signalling its group. */
    setpgid(0, 0);
    execl(__zub_target_exe_name, __zub_target_exe_name, ready_fd, go_fd, input, (char*)NULL);
    perror(__zub_target_exe_name);
    _exit(127);
  }
  close(ready[1]);
  close(go[0]);
  return pid;
}

/* Starts the card-side program of `round` and announces it at the offload symbol; 0 on failure.
 * It works once a byte is written to *go_fd. */
static pid_t offload(int round, int* go_fd) {
  int ready[2], go[2];
  const pid_t pid = start_card(round, ready, go);
  if (pid < 0) return 0;
  char byte = 0;
  /* The card-side program is loaded (past its exec) once it says so. */
  if (read(ready[0], &byte, 1) != 1) return 0;
  close(ready[0]);
  __zub_target_id = 0;
  __zub_target_so_pid = (int)pid;
  __zub_target_so_loaded();
  *go_fd = go[1];
  return pid;
}

/* Lets the card-side process work and waits for its end; its exit status. */
static int finish(int round, pid_t pid, int go_fd) {
  if (write(go_fd, "g", 1) != 1) return 1;
  close(go_fd);
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return 1;
  printf("host: offload %d ended with status %d\n", round,
         WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : 1;
  work = argc > 2 ? atoi(argv[2]) : 0;
  const int together = argc > 3;
  pid_t pids[64];
  int go[64];
  if (together && (count < 1 || count > 64)) return 2;
  for (int round = 0; round < count; round++) {
    const int slot = together ? round : 0;
    if ((pids[slot] = offload(round, &go[slot])) == 0) return 1;
    if (!together && finish(round, pids[0], go[0]) != 0) return 1;
  }
  for (int round = 0; together && round < count; round++)
    if (finish(round, pids[round], go[round]) != 0) return 1;
  return 0;
}
