/*
 * support.h: what the example programs share, so that each of them can be about its problem.
 *
 *   Arguments     the command line: flags, options with a value, files
 *   Where         the place in an input file that a message is about
 *   readLines     reads a file line by line
 *   Numbers       reads a file of whole numbers
 *   startSolver   cs_init, with Ctrl-C and a time limit for all runs of ku_run.h
 *   newRun        a run within that limit, which shows its progress on a terminal; cost tells what it took
 *   maximize      the best solution, by runs of which each must do better than the last
 *
 * All examples share these exit statuses; where several apply, the largest counts:
 *
 *     0   done
 *     1   an input was missing or malformed (the others were worked on all the same), the output couldn't be written,
 *         or memory ran out
 *     2   the command line was wrong
 *     3   a time limit ended a search: the answer isn't proved
 *     128 + n   signal n ended the run: 130 after Ctrl-C
 */
#ifndef KU_EXAMPLES_SUPPORT_H
#define KU_EXAMPLES_SUPPORT_H

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <ku_run.h>

namespace example {

enum Status { done = 0, badInput = 1, badUsage = 2, outOfTime = 3, signalled = 128 };

/* ---------------------------------------------------------------------------------------------------------------------
 * The command line
 * ------------------------------------------------------------------------------------------------------------------ */

// Options are asked for one by one and leave the list when they are met; what remains at the end are the files. A
// mistake ends the program with a message and status 2, --help with the usage text and status 0.
class Arguments
{
public:
  Arguments(int argc, char** argv, const char* program, const char* usage) : _program(program)
  {
    _words.assign(argv + std::min(argc, 1), argv + argc);
    std::atexit([] {
      if (std::fflush(stdout) || std::ferror(stdout)) {
        std::perror("standard output");
        _exit(badInput);
      }
    });
    if (flag("--help")) {
      std::fputs(usage, stdout);
      std::exit(done);
    }
  }

  bool flag(std::string_view name)
  {
    const auto last = optionsEnd();
    const auto met = std::find(_words.begin(), last, name);
    if (met == last)
      return false;
    _words.erase(met);
    return true;
  }

  // The value of "--name value" or "--name=value", or `otherwise`.
  int number(std::string_view name, int otherwise, int low, int high)
  {
    std::string text;
    return take(name, text) ? toNumber(name, text, low, high) : otherwise;
  }

  std::string text(std::string_view name, const std::string& otherwise)
  {
    std::string value;
    return take(name, value) ? value : otherwise;
  }

  // The number that a word stands for.
  int toNumber(std::string_view name, const std::string& text, int low, int high) const
  {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < low || value > high)
      fail(std::string(name) + " takes a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
           ", not '" + text + "'");
    return value;
  }

  // A positive number of seconds, or 0 when the option isn't given.
  double seconds(std::string_view name)
  {
    std::string text;
    if (!take(name, text))
      return 0;
    constexpr double tenYears = 3e8;
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || !(value > 0 && value <= tenYears))
      fail(std::string(name) + " takes a number of seconds above 0, not '" + text + "'");
    return value;
  }

  // What is left. A lone "-" counts as a file, and so does all that stands after "--".
  std::vector<std::string> files()
  {
    const auto last = optionsEnd();
    for (auto word = _words.begin(); word != last; ++word)
      if (word->size() > 1 && word->front() == '-')
        fail("unknown option '" + *word + "'");
    if (last != _words.end())
      _words.erase(last);
    return _words;
  }

  [[noreturn]] void fail(const std::string& message) const
  {
    std::fprintf(stderr, "%s: %s\nTry '%s --help'.\n", _program, message.c_str(), _program);
    std::exit(badUsage);
  }

private:
  const char* _program;
  std::vector<std::string> _words;

  std::vector<std::string>::iterator optionsEnd() { return std::find(_words.begin(), _words.end(), "--"); }

  bool take(std::string_view name, std::string& value)
  {
    const auto last = optionsEnd();
    const std::string joined = std::string(name) + '=';
    for (auto word = _words.begin(); word != last; ++word)
      if (*word == name) {
        if (word + 1 == last)
          fail(std::string(name) + " needs a value");
        value = word[1];
        _words.erase(word, word + 2);
        return true;
      } else if (word->starts_with(joined)) {
        value = word->substr(joined.size());
        _words.erase(word);
        return true;
      }
    return false;
  }
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Messages about input
 * ------------------------------------------------------------------------------------------------------------------ */

struct Where
{
  std::string file;
  int line = 0; // 0: the file as a whole

  std::string text() const { return line ? file + ':' + std::to_string(line) : file; }
};

// What messages quote from an input may be anything: on a terminal it must not act.
inline void complain(const Where& where, std::string message)
{
  std::replace_if(
      message.begin(), message.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
  std::fflush(stdout);
  std::fprintf(stderr, "%s: %s\n", where.text().c_str(), message.c_str());
}

// Once the solver runs, its own default ends the process when memory runs out. Only cs_init has to be asked.
[[noreturn]] inline void outOfMemory(const char* program)
{
  std::fprintf(stderr, "%s: out of memory\n", program);
  std::exit(badInput);
}

// Gives the lines of a file to `readLine`, but for blank ones and those that begin with '#', until it answers what is
// wrong with one. Complains of that, or of the file.
template <class ReadLine>
bool readLines(const std::string& file, ReadLine readLine)
{
  std::ifstream in(file);
  if (!in)
    return complain({file}, "can't be opened"), false;
  std::string line;
  for (int number = 1; std::getline(in, line); number++) {
    const size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos || line[first] == '#')
      continue;
    if (const std::string wrong = readLine(line); !wrong.empty())
      return complain({file, number}, wrong), false;
  }
  if (in.bad())
    return complain({file}, "can't be read"), false;
  return true;
}

// Reads the whole numbers of a file one by one; from '#' on a line is a comment. The first mistake is complained of;
// from then on every number is the lowest allowed.
class Numbers
{
public:
  explicit Numbers(const std::string& file) : _where{file}, _in(file)
  {
    if (!_in)
      fail("can't be opened");
  }

  int next(const std::string& what, int low, int high)
  {
    std::string word;
    if (!_good || !nextWord(word))
      return fail(_in.bad() ? "can't be read" : "ends where " + what + " should stand"), low;
    int value = 0;
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc() || stop != end || value < low || value > high)
      return fail("expected " + what + ", from " + std::to_string(low) + " to " + std::to_string(high) + ", not '" +
                  word + "'"),
             low;
    return value;
  }

  // After the last number that is wanted: has all been read, without a mistake?
  bool done()
  {
    std::string word;
    if (_good && nextWord(word))
      fail("'" + word + "' is too much");
    return _good;
  }

private:
  Where _where;
  std::ifstream _in;
  std::istringstream _line;
  bool _good = true;

  bool nextWord(std::string& word)
  {
    while (!(_line >> word) || word[0] == '#') {
      std::string line;
      if (!std::getline(_in, line))
        return false;
      _where.line++;
      _line = std::istringstream(line);
    }
    return true;
  }

  void fail(const std::string& message)
  {
    if (_good)
      complain(_where, message);
    _good = false;
  }
};

inline std::string plural(long long count, const char* one, const char* many)
{
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Around the runs of ku_run.h
 * ------------------------------------------------------------------------------------------------------------------ */

using Clock = std::chrono::steady_clock;

inline volatile std::sig_atomic_t caughtSignal = 0;

// From here on Ctrl-C and a termination signal stop the run at work or the next one; the same signal a second time ends
// the process. Without SA_RESTART a read from a terminal comes back, too, when the signal arrives.
inline void catchInterrupts()
{
  struct sigaction action = {};
  action.sa_handler = [](int number) {
    caughtSignal = number;
    ku_cancel();
  };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

inline Clock::time_point timeIsUp = Clock::time_point::max();

// All runs from now on share this limit, and so does the building of their models; 0 is none.
inline void setTimeLimit(double seconds)
{
  timeIsUp = seconds > 0
                 ? Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
                 : Clock::time_point::max();
}

// Starts the solver, and has the runs obey Ctrl-C and the time limit.
inline void startSolver(const char* program, double seconds)
{
  cs_init();
  if (cs_getErr())
    outOfMemory(program);
  catchInterrupts();
  setTimeLimit(seconds);
}

// "123 choice points, 45 fails, 0.006 s"
inline std::string cost(const KuRun& run)
{
  char seconds[40];
  std::snprintf(seconds, sizeof seconds, "%.3f s", run.elapsed);
  return plural(run.choicePoints, "choice point", "choice points") + ", " + plural(run.nbFails, "fail", "fails") +
         ", " + seconds;
}

// For a search by several runs.
inline void addCost(KuRun& sum, const KuRun& run)
{
  sum.choicePoints += run.choicePoints;
  sum.nbFails += run.nbFails;
  sum.elapsed += run.elapsed;
}

inline std::string progressTitle;

inline void showProgress(KuRun* run)
{
  const std::string text = run->atWork ? progressTitle + ": " + cost(*run) : "";
  std::fprintf(stderr, "\r%s\033[K", text.c_str());
}

// A run for what is left of the time limit; on a terminal it shows its progress behind the title.
inline KuRun newRun(std::string title)
{
  KuRun run = {};
  if (timeIsUp != Clock::time_point::max())
    run.seconds = std::max(std::chrono::duration<double>(timeIsUp - Clock::now()).count(), 1e-9); // 0 would be no limit
  if (isatty(STDERR_FILENO) == 1)
    run.progress = showProgress;
  progressTitle = std::move(title);
  return run;
}

// Looks for the largest value of `goal`: each search must find a larger one than the last, and `found` reads each
// solution off the variables. KU_EXHAUSTED says that the last one is the best. What it took is added to `sum`.
template <class Found>
KuOutcome maximize(const std::string& title, std::vector<CSint*>& variables, CSfindFreeVar choose, CSint* goal,
    KuRun& sum, Found found)
{
  for (bool possible = true; possible;) {
    KuRun run = newRun(title);
    const KuOutcome outcome = ku_search(&run, variables.data(), static_cast<int>(variables.size()), choose);
    addCost(sum, run);
    if (outcome != KU_SOLVED)
      return outcome;
    found();
    const int value = cs_getValue(goal);
    cs_restoreContextUntil(run.label);
    possible = cs_GT(goal, value);
  }
  return KU_EXHAUSTED;
}

// Was the run stopped from outside, so that its answer isn't proved? A callback that has seen enough may cancel as
// well.
inline bool isStopped(KuOutcome outcome) { return outcome == KU_DEADLINE || (outcome == KU_CANCELLED && caughtSignal); }

inline const char* stoppedText(KuOutcome outcome)
{
  return outcome == KU_DEADLINE ? "stopped (time limit)" : "stopped (interrupted)";
}

inline int worse(int status, KuOutcome outcome)
{
  if (caughtSignal)
    return std::max(status, signalled + static_cast<int>(caughtSignal));
  return outcome == KU_DEADLINE ? std::max<int>(status, outOfTime) : status;
}

} // namespace example

#endif // KU_EXAMPLES_SUPPORT_H
