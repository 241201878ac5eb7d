/*
 * ku-cluster: the shortest Golomb ruler, searched by many processes at once (MPI).
 *
 * One solver lives in one process, so a cluster runs one solver in each of many. The tree of the search is cut at a
 * shallow depth: each choice of the first marks is a subproblem. Rank 0 lists them and hands them out one by one to the
 * ranks that ask, with the length of the shortest ruler found so far; the others search what they get for shorter ones.
 * Subproblems are many and small, so all ranks stay busy to the end, and a better length reaches everybody soon.
 *
 *     mpirun -n 4 ku-cluster 10
 *
 * With one rank it searches alone, and with any number the answer is the same.
 */
#include <mpi.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <ku_run.h>

static const char usage[] = "Usage: mpirun -n RANKS ku-cluster [--depth D] MARKS\n"
                            "Finds the shortest Golomb ruler with so many MARKS, from 3 to 16.\n"
                            "\n"
                            "  --depth D   a subproblem is a choice of the first D marks behind 0 (2)\n"
                            "  --help      print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage.\n";

enum Tag {
  ask,    // a rank wants work; it tells what it has found
  answer, // and gets some
};

// What is sent, both ways: the marks are a subproblem one way and a ruler the other way.
struct Message
{
  int count = 0;  // of marks; 0: nothing found, or nothing left to do
  int length = 0; // of the shortest ruler known
  int marks[16] = {};
};
constexpr int messageInts = sizeof(Message) / sizeof(int);

/* ---------------------------------------------------------------------------------------------------------------------
 * The model
 * ------------------------------------------------------------------------------------------------------------------ */

static std::vector<CSint*> mark, distance;

static bool buildModel(int marks)
{
  for (int i = 0; i < marks; i++)
    mark.push_back(cs_createCSint(0, i == 0 ? 0 : marks * marks));
  for (size_t j = 1; j < mark.size(); j++)
    for (size_t i = 0; i < j; i++) {
      CSint* d = cs_Sub(mark[j], mark[i]);
      const int gaps = static_cast<int>(j - i);
      if (!d || !cs_GE(d, gaps * (gaps + 1) / 2))
        return false;
      distance.push_back(d);
    }
  // A ruler may be turned round, so the first gap is made smaller than the last.
  CSint *first = distance.front(), *last = distance.back();
  return cs_Lt(first, last) && cs_AllNeq(distance.data(), static_cast<int>(distance.size()));
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Work
 * ------------------------------------------------------------------------------------------------------------------ */

static std::vector<Message> subproblems;

static void listSubproblem(CSint** marks, int n)
{
  Message m;
  m.count = n;
  for (int i = 0; i < n; i++)
    m.marks[i] = cs_getValue(marks[i]);
  subproblems.push_back(m);
}

static Message found;

static void keep(CSint** marks, int n, CSint* length)
{
  found.count = n;
  found.length = cs_getMin(length);
  for (int i = 0; i < n; i++)
    found.marks[i] = cs_getValue(marks[i]);
}

// The shortest ruler that begins so and is shorter than what is known, in a context of its own.
static Message work(const Message& task)
{
  found = {};
  const int label = cs_saveContext();
  bool possible = cs_LT(mark.back(), task.length) != 0;
  for (int i = 0; i < task.count; i++)
    possible = possible && cs_EQ(mark[static_cast<size_t>(i)], task.marks[i]);
  KuRun run = {};
  if (possible)
    ku_minimize(&run, mark.data(), static_cast<int>(mark.size()), cs_findFreeVar, mark.back(), keep);
  cs_restoreContextUntil(label);
  return found;
}

static void take(Message& best, const Message& other)
{
  if (other.count && other.length < best.length)
    best = other;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Ranks
 * ------------------------------------------------------------------------------------------------------------------ */

static Message searchAlone(Message best)
{
  for (Message task : subproblems) {
    task.length = best.length;
    take(best, work(task));
  }
  return best;
}

static Message handOut(Message best, int ranks)
{
  size_t next = 0;
  for (int working = ranks - 1; working > 0;) {
    Message result;
    MPI_Status status;
    MPI_Recv(&result, messageInts, MPI_INT, MPI_ANY_SOURCE, ask, MPI_COMM_WORLD, &status);
    take(best, result);
    Message task;
    if (next < subproblems.size())
      task = subproblems[next++];
    else
      working--;
    task.length = best.length;
    MPI_Send(&task, messageInts, MPI_INT, status.MPI_SOURCE, answer, MPI_COMM_WORLD);
  }
  return best;
}

static void serve()
{
  for (Message result;;) {
    Message task;
    MPI_Send(&result, messageInts, MPI_INT, 0, ask, MPI_COMM_WORLD);
    MPI_Recv(&task, messageInts, MPI_INT, 0, answer, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    if (task.count == 0)
      return;
    result = work(task);
  }
}

// The number that a word stands for, or -1.
static int number(const std::string& word)
{
  char* end;
  const long value = std::strtol(word.c_str(), &end, 10);
  return *end || value < 0 || value > 1000 ? -1 : static_cast<int>(value);
}

int main(int argc, char** argv)
{
  MPI_Init(&argc, &argv);
  int rank, ranks;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &ranks);
  const std::vector<std::string> words(argv + (argc > 0), argv + argc);
  const bool help = words.size() == 1 && words[0] == "--help";
  const bool cut = words.size() == 3 && words[0] == "--depth";
  const int marks = words.size() == 1 || cut ? number(words.back()) : -1;
  const int depth = cut ? number(words[1]) : 2;
  if (help || marks < 3 || marks > 16 || depth < 0 || depth >= marks) {
    if (rank == 0)
      std::fputs(usage, help ? stdout : stderr);
    MPI_Finalize();
    return help ? 0 : 2;
  }

  cs_init();
  const bool possible = buildModel(marks);
  if (rank == 0 && possible)
    cs_findAll(mark.data(), depth + 1, cs_findFreeVar, listSubproblem);
  Message best;
  best.length = marks * marks + 1; // no ruler of so many marks needs to be longer
  if (ranks == 1)
    best = searchAlone(best);
  else if (rank == 0)
    best = handOut(best, ranks);
  else
    serve();
  if (rank == 0) {
    for (int i = 0; i < best.count; i++)
      std::printf("%d ", best.marks[i]);
    std::printf(
        "is the shortest; %zu subproblems on %d %s\n", subproblems.size(), ranks, ranks == 1 ? "rank" : "ranks");
  }
  cs_end();
  MPI_Finalize();
  return 0;
}
