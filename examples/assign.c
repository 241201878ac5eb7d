/*
 * ku-assign: who does which job, at the lowest cost in all? In C.
 *
 * The model: the job of each person, all different; what it costs is a row of the table at that job (cs_Element), and
 * the sum of these is lowered. The next to be given a job is the person with the fewest jobs left.
 *
 * It runs under ku_run.h, which stops it at a deadline or on Ctrl-C, and tells how it ended.
 */
#include <ku_run.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { most = 100 };

static const char usage[] =
    "Usage: ku-assign [--time SECONDS] FILE\n"
    "Gives each person one job, at the lowest cost in all. FILE holds their number and, row by\n"
    "row, what each job costs with each person; lines that begin with '#' are skipped.\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130\n"
    "Ctrl-C.\n";

static int size, cost[most][most], missing = 1; /* numbers of the file */
static CSint* job[most];
static int best[most], bestCost;

static int complain(const char* file, int line, const char* message)
{
  if (line)
    fprintf(stderr, "%s:%d: %s\n", file, line, message);
  else
    fprintf(stderr, "%s: %s\n", file, message);
  return 0;
}

/* Reads the numbers of a line behind those that have been read. Returns what is wrong with it, or NULL. */
static const char* readLine(char* at)
{
  static int nbRead = -1; /* the size is the first */
  char* end;
  long value;
  for (; value = strtol(at, &end, 10), end != at; at = end) {
    if (nbRead < 0 ? value < 1 || value > most : value < 0 || value > 1000000 || nbRead == size * size)
      return "a number that can't stand here";
    if (nbRead < 0)
      size = (int)value;
    else
      cost[nbRead / size][nbRead % size] = (int)value;
    nbRead++;
    missing = size * size - nbRead;
  }
  return at[strspn(at, " \t\r\n")] ? "expected whole numbers" : NULL;
}

static int readCosts(const char* file)
{
  static char text[65536];
  const char* wrong = NULL;
  int line = 0;
  FILE* in = fopen(file, "r");
  if (!in)
    return complain(file, 0, "can't be opened");
  while (!wrong && fgets(text, sizeof text, in)) {
    line++;
    if (strlen(text) == sizeof text - 1)
      wrong = "the line is too long";
    else if (text[0] != '#')
      wrong = readLine(text);
  }
  if (!wrong && (ferror(in) || missing)) {
    line = 0;
    wrong = ferror(in) ? "can't be read" : "ends too early";
  }
  fclose(in);
  return wrong ? complain(file, line, wrong) : 1;
}

static CSint* buildModel(void)
{
  static CSint* costs[most];
  int i;
  for (i = 0; i < size; i++) {
    job[i] = cs_createCSint(0, size - 1);
    costs[i] = cs_Element(job[i], cost[i], size);
  }
  return cs_AllNeq(job, size) ? cs_Sigma(costs, size) : NULL;
}

static void keep(CSint** jobs, int n, CSint* total)
{
  int i;
  bestCost = cs_getMin(total);
  for (i = 0; i < n; i++)
    best[i] = cs_getValue(jobs[i]);
}

static void onInterrupt(int number)
{
  signal(number, SIG_DFL); /* the second one ends the process */
  ku_cancel();
}

int main(int argc, char** argv)
{
  KuRun run = {0};
  KuOutcome outcome = KU_EXHAUSTED;
  CSint* total;
  int i;
  if (argc == 2 && strcmp(argv[1], "--help") == 0) {
    fputs(usage, stdout);
    return 0;
  }
  if (argc == 4 && strcmp(argv[1], "--time") == 0) {
    char* end;
    run.seconds = strtod(argv[2], &end);
    if (*end || !(run.seconds > 0)) {
      fprintf(stderr, "ku-assign: --time takes a number of seconds above 0, not '%s'\n", argv[2]);
      return 2;
    }
  } else if (argc != 2 || argv[1][0] == '-') {
    fputs("ku-assign: one FILE is wanted\nTry 'ku-assign --help'.\n", stderr);
    return 2;
  }
  if (!readCosts(argv[argc - 1]))
    return 1;
  cs_init();
  if (cs_getErr()) {
    fputs("ku-assign: out of memory\n", stderr);
    return 1;
  }
  signal(SIGINT, onInterrupt);
  total = buildModel();
  if (total)
    outcome = ku_minimize(&run, job, size, cs_findFreeVarNbElements, total, keep);
  if (run.found) {
    for (i = 0; i < size; i++)
      printf("%d:%d ", i + 1, best[i] + 1);
    printf("\n%s: cost %d; ", outcome == KU_EXHAUSTED ? "optimal" : "stopped, the best so far", bestCost);
  } else {
    printf("stopped; ");
  }
  printf("%lld choice points, %lld fails\n", run.choicePoints, run.nbFails);
  cs_end();
  if (fflush(stdout) || ferror(stdout)) {
    perror("standard output");
    return 1;
  }
  return outcome == KU_DEADLINE ? 3 : outcome == KU_CANCELLED ? 130 : 0;
}
