/*
 * The main program of both benchmarks. Each problem runs in a process of its own, so that one neither warms up nor
 * fills the memory for the next, its peak memory is its own, and it can be stopped whatever it is doing. The outcome
 * comes back through a pipe.
 */
#include "bench.h"
#include "instances.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {

// =====================================================================================================================
// The list
// =====================================================================================================================

using enum Wanted;
using enum Strength;

// Rows with the answer -1 have it worked out by another way than search (workedAnswer). Those of the nonograms were
// counted by a line solver apart.
static const Problem problems[] = {
    {"start", 0, first, 1, other, true, "nothing: what the program itself takes"},
    {"queens", 8, all, 92, equal, true, "all placements of queens, with three all-different"},
    {"queens", 9, all, 352, equal, true, "the same"},
    {"queens", 10, all, 724, equal, true, "the same"},
    {"queens", 11, all, 2680, equal, false, "the same"},
    {"queens", 12, all, 14200, equal, false, "the same", 234038, 131698},
    {"queens-neq", 8, all, 92, equal, true, "all placements of queens, with a disequality for each pair"},
    {"queens-neq", 9, all, 352, equal, true, "the same"},
    {"queens-neq", 10, all, 724, equal, true, "the same"},
    {"queens-neq", 11, all, 2680, equal, false, "the same"},
    {"queens-neq", 12, all, 14200, equal, false, "the same"},
    {"queens-first", 20, first, 1, equal, true, "one placement of queens, with all-different, by smallest domain"},
    {"queens-first", 100, first, 1, equal, true, "the same"},
    {"queens-first", 200, first, 1, equal, false, "the same"},
    {"queens-first", 1000, first, 1, equal, false, "the same"},
    {"queens-first-neq", 100, first, 1, equal, true, "one placement of queens, with disequalities, by smallest domain"},
    {"queens-first-neq", 200, first, 1, equal, false, "the same"},
    {"magic", 3, all, 8, equal, true, "all magic squares"},
    {"magic", 4, all, 7040, equal, false, "the same", 715398, 598686},
    {"latin", 5, all, 161280, equal, false, "all Latin squares"},
    {"quasigroup", 20, first, 1, equal, true, "a Latin square completed, by smallest domain"},
    {"quasigroup", 25, first, 1, equal, false, "the same"},
    {"langford", 7, all, 52, equal, true, "all sequences of pairs k apart from each other by k others"},
    {"langford", 8, all, 300, equal, true, "the same"},
    {"langford", 11, all, 35584, equal, false, "the same"},
    {"colouring", 6, first, 0, equal, true,
        "the squares of a board in as many colours as its side, where queens attack"},
    {"colouring", 8, first, 0, equal, false, "the same"},
    {"pigeonholes", 7, first, 0, equal, true, "as many pigeons in one hole less, by disequalities"},
    {"pigeonholes", 11, first, 0, equal, false, "the same"},
    {"cryptarithm", 10, all, 1, equal, true, "DONALD + GERALD = ROBERT, one equation"},
    {"linear", 10, all, -1, equal, false, "all solutions of equations with coefficients of both signs"},
    {"knapsack", 24, all, -1, equal, false, "all knapsacks within a capacity that are worth enough"},
    {"nonogram", 20, all, 1, equal, true, "all pictures to the clues of a random one, by automata"},
    {"nonogram", 28, all, 4, equal, false, "the same"},
    {"nonogram", 30, all, 32, equal, false, "the same"},
    {"cars", 10, all, 6, other, true, "all sequences of ten cars on an assembly line"},
    {"cars", 12, all, -1, other, false, "the same with two more, without options"},
    {"jobshop-ft06", 55, first, 1, equal, true, "a schedule of that length, by reified comparisons"},
    {"jobshop-ft06", 54, first, 0, equal, true, "none is shorter"},
    {"jobshop-la01", 666, first, 1, equal, false, "a schedule of that length"},
    {"jobshop-la02", 655, first, 1, equal, false, "the same"},
    {"jobshop-la03", 597, first, 1, equal, false, "the same"},
    {"jobshop-la04", 590, first, 1, equal, false, "the same"},
    {"jobshop-la05", 593, first, 1, equal, false, "the same"},
    {"golomb", 8, best, 34, other, true, "the shortest Golomb ruler, by differences"},
    {"golomb", 9, best, 44, other, false, "the same"},
    {"interval", 9, all, 120, other, true, "all all-interval series, by differences"},
    {"interval", 11, all, 648, other, false, "the same"},
    {"tour", 9, best, -1, other, false, "the shortest tour through points, by a table of distances"},
    {"roster", 8, first, 1, equal, true, "so many people on three shifts for four weeks, by automata and counts"},
    {"roster", 16, first, 1, equal, false, "the same"},
    {"project", 10, first, 1, other, true, "so many tasks on a resource, in the time that a greedy schedule takes"},
    {"project", 30, first, 1, other, true, "the same"},
    {"project", 40, first, 1, other, true, "the same"},
    {"project", 70, first, 1, other, false, "the same"},
    {"growth", 1000, first, 1, other, true, "so many variables in a chain of cs_Le, posted and searched once"},
    {"growth", 10000, first, 1, other, true, "the same"},
    {"growth", 100000, first, 1, other, true, "the same"},
    {"growth", 1000000, first, 1, other, false, "the same"},
};

static std::string nameOf(const Problem& problem) { return problem.model + ("-" + std::to_string(problem.size)); }

// =====================================================================================================================
// One problem in its process
// =====================================================================================================================

struct Measured
{
  Outcome outcome;
  double seconds;      ///< of CPU, user and system
  double mebibytes;    ///< the peak
  int64_t knownAnswer; ///< worked out here too where it must be, after the rest is measured
};

static double cpuSeconds()
{
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

static double peakMebibytes()
{
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_maxrss) / 1024;
}

[[noreturn]] static void solveHere(const Problem& problem, Solve solve, int pipe)
{
  // A search a million decisions deep takes more stack than is usual.
  rlimit stack;
  getrlimit(RLIMIT_STACK, &stack);
  stack.rlim_cur = stack.rlim_max;
  setrlimit(RLIMIT_STACK, &stack);
  const double start = cpuSeconds();
  Measured measured = {};
  measured.outcome = solve(problem);
  measured.seconds = cpuSeconds() - start;
  measured.mebibytes = peakMebibytes();
  measured.knownAnswer = problem.answer >= 0 ? problem.answer : workedAnswer(problem);
  const bool told = write(pipe, &measured, sizeof measured) == ssize_t(sizeof measured);
  _exit(told ? 0 : 1);
}

static volatile sig_atomic_t caughtSignal;

static double wallSeconds()
{
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

enum class End { solved, stopped, timeLimit, died };

struct Run
{
  End end;
  Measured measured;
};

/// Waits for the process, with a line of progress on a terminal.
static End waitFor(pid_t child, const std::string& title, double limit, int* status)
{
  const bool onTerminal = isatty(STDERR_FILENO) == 1;
  const double start = wallSeconds();
  double nextReport = start + 0.5;
  End end = End::solved;
  useconds_t nap = 500;
  while (waitpid(child, status, WNOHANG) == 0) {
    const double now = wallSeconds();
    if (end == End::solved && (caughtSignal || (limit > 0 && now - start > limit))) {
      end = caughtSignal ? End::stopped : End::timeLimit;
      kill(child, SIGKILL);
    }
    if (onTerminal && now > nextReport) {
      fprintf(stderr, "\r%s: %.0f s\033[K", title.c_str(), now - start);
      nextReport = now + 0.5;
    }
    usleep(nap);
    nap = std::min<useconds_t>(nap * 2, 20000);
  }
  if (onTerminal)
    fputs("\r\033[K", stderr);
  return end;
}

static Run runApart(const Problem& problem, Solve solve, const std::string& title, double limit)
{
  int ends[2];
  if (pipe(ends) != 0) {
    perror("pipe");
    exit(1);
  }
  fflush(stdout);
  const pid_t child = fork();
  if (child < 0) {
    perror("fork");
    exit(1);
  }
  if (child == 0) {
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    close(ends[0]);
    solveHere(problem, solve, ends[1]);
  }
  close(ends[1]);
  Run result = {};
  int status = 0;
  result.end = waitFor(child, title, limit, &status);
  const bool told = read(ends[0], &result.measured, sizeof result.measured) == ssize_t(sizeof result.measured);
  close(ends[0]);
  if (result.end == End::solved && !(told && WIFEXITED(status) && WEXITSTATUS(status) == 0))
    result.end = End::died;
  return result;
}

// =====================================================================================================================
// The table
// =====================================================================================================================

static std::string verdictOn(const Problem& problem, const Run& result)
{
  const Outcome& outcome = result.measured.outcome;
  switch (result.end) {
  case End::stopped:
    return "stopped";
  case End::timeLimit:
    return "time limit";
  case End::died:
    return "died";
  case End::solved:
    break;
  }
  if (outcome.answer != result.measured.knownAnswer)
    return "WRONG: the answer is " + std::to_string(result.measured.knownAnswer);
  if (!outcome.sound)
    return "WRONG: a solution is none";
  if (problem.choicePoints >= 0 && (outcome.choicePoints != problem.choicePoints || outcome.fails != problem.fails))
    return "WRONG: there are " + std::to_string(problem.choicePoints) + " choice points and " +
           std::to_string(problem.fails) + " fails";
  return "ok";
}

static const char* wantedText(Wanted wanted) { return wanted == all ? "all" : wanted == first ? "first" : "best"; }

static void printRow(const Problem& problem, const Run& result, const std::string& verdict)
{
  const Outcome& outcome = result.measured.outcome;
  printf("%-20s %-5s %-5s %9lld %13lld %11lld ", nameOf(problem).c_str(), wantedText(problem.wanted),
      problem.strength == equal ? "equal" : "other", static_cast<long long>(outcome.answer),
      static_cast<long long>(outcome.choicePoints), static_cast<long long>(outcome.fails));
  if (settings.countCalls)
    printf("%13lld ", static_cast<long long>(outcome.handlerCalls));
  printf("%9.4f %8.1f  %s\n", result.measured.seconds, result.measured.mebibytes, verdict.c_str());
  fflush(stdout);
}

static void printHead()
{
  printf("%-20s %-5s %-5s %9s %13s %11s ", "# problem", "want", "tree", "answer", "choice-points", "fails");
  if (settings.countCalls)
    printf("%13s ", "calls");
  printf("%9s %8s  %s\n", "seconds", "MiB", "verdict");
}

// =====================================================================================================================
// The command line
// =====================================================================================================================

enum Status { done = 0, wrong = 1, badUsage = 2, signalled = 128 };

static const char kuUsage[] =
    "Usage: ku-bench [OPTION]... [PROBLEM]...\n"
    "Solves the problems and checks their answers: all of them, those of a model (queens), or one (queens-8).\n"
    "\n"
    "  --list           the problems, and what they are\n"
    "  --small          only those that take little time\n"
    "  --time SECONDS   stops a problem after this long, by the clock\n"
    "  --calls          counts the calls of handlers, which makes it slower\n"
    "  --help           this text\n"
    "\n"
    "Seconds are of CPU, for building the model and searching; MiB are the peak of the whole process.\n"
    "Exit status: 0 all answers right, 1 one wrong or not reached, 2 wrong usage, 130 Ctrl-C.\n";

static const char peerUsage[] =
    "Usage: gecode-bench [OPTION]... [PROBLEM]...\n"
    "Solves the problems of ku-bench in the same models with Gecode, and checks their answers.\n"
    "\n"
    "  --list            the problems, and what they are\n"
    "  --small           only those that take little time\n"
    "  --time SECONDS    stops a problem after this long, by the clock\n"
    "  --distance NUMBER decisions from one copy of the state to the next: 8, the peer's default, or 1 for each\n"
    "  --help            this text\n"
    "\n"
    "Seconds are of CPU, for building the model and searching; MiB are the peak of the whole process.\n"
    "Exit status: 0 all answers right, 1 one wrong or not reached, 2 wrong usage, 130 Ctrl-C.\n";

struct Request
{
  double limit = 0;
  bool small = false;
  bool list = false;
  std::vector<std::string> names;
};

[[noreturn]] static void refuse(const char* argv0, const std::string& message)
{
  fprintf(stderr, "%s: %s\nTry '%s --help'.\n", argv0, message.c_str(), argv0);
  exit(badUsage);
}

static double numberAfter(const char* argv0, int argc, char** argv, int& i)
{
  const std::string option = argv[i];
  if (i + 1 == argc)
    refuse(argv0, option + " needs a value");
  const char* text = argv[++i];
  double number = 0;
  const auto [stop, error] = std::from_chars(text, text + strlen(text), number);
  if (error != std::errc() || *stop || !(number > 0 && number < 1e8))
    refuse(argv0, option + " takes a number above 0, not '" + text + "'");
  return number;
}

static bool isMeant(const Problem& problem, const std::string& name)
{
  return name == problem.model || name == nameOf(problem);
}

static Request readArguments(int argc, char** argv, Program program)
{
  Request request;
  for (int i = 1; i < argc; i++) {
    const std::string_view argument = argv[i];
    if (argument == "--help") {
      fputs(program == Program::ku ? kuUsage : peerUsage, stdout);
      exit(done);
    } else if (argument == "--list") {
      request.list = true;
    } else if (argument == "--small") {
      request.small = true;
    } else if (argument == "--time") {
      request.limit = numberAfter(argv[0], argc, argv, i);
    } else if (argument == "--calls" && program == Program::ku) {
      settings.countCalls = true;
    } else if (argument == "--distance" && program == Program::peer) {
      settings.copyDistance = unsigned(numberAfter(argv[0], argc, argv, i));
    } else if (argument.starts_with("-")) {
      refuse(argv[0], "unknown option '" + std::string(argument) + "'");
    } else {
      request.names.emplace_back(argument);
    }
  }
  for (const std::string& name : request.names)
    if (std::none_of(std::begin(problems), std::end(problems), [&](const Problem& p) { return isMeant(p, name); }))
      refuse(argv[0], "there is no problem '" + name + "'; --list shows them");
  return request;
}

static bool isWanted(const Problem& problem, const Request& request)
{
  if (request.small && !problem.small)
    return false;
  return request.names.empty() || std::any_of(request.names.begin(), request.names.end(),
                                      [&](const std::string& name) { return isMeant(problem, name); });
}

static void catchSignals()
{
  struct sigaction action = {};
  action.sa_handler = [](int number) { caughtSignal = number; };
  action.sa_flags = int(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

int run(int argc, char** argv, Program program, const Model* models, int nbModels)
{
  const Request request = readArguments(argc, argv, program);
  catchSignals();
  std::vector<std::pair<const Problem*, Solve>> wanted;
  for (const Problem& problem : problems) {
    const Model* model =
        std::find_if(models, models + nbModels, [&](const Model& m) { return m.name == problem.model; });
    if (model != models + nbModels && isWanted(problem, request))
      wanted.emplace_back(&problem, model->solve);
  }
  if (request.list) {
    for (const auto& [problem, solve] : wanted)
      printf("%-20s %-5s %s\n", nameOf(*problem).c_str(), wantedText(problem->wanted), problem->what);
    return done;
  }
  int status = done, position = 0;
  printHead();
  for (const auto& [problem, solve] : wanted) {
    position++;
    const std::string title =
        '[' + std::to_string(position) + '/' + std::to_string(wanted.size()) + "] " + nameOf(*problem);
    const Run result = runApart(*problem, solve, title, request.limit);
    const std::string verdict = verdictOn(*problem, result);
    printRow(*problem, result, verdict);
    if (verdict != "ok")
      status = wrong;
    if (caughtSignal)
      return signalled + caughtSignal;
  }
  return status;
}

} // namespace bench
