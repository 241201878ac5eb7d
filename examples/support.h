/*
 * support.h: what the example programs share, so that each of them can be about its problem.
 *
 *   Arguments     the command line: flags, options with a value, files
 *   startSolver   cs_init, Ctrl-C and a time limit
 *   runSearch     runs a search driver that obeys Ctrl-C and a time limit, counts, and shows progress on a terminal
 *   obedient      makes a variable selector of the library one that runSearch can watch through
 *   Where         the place in an input file that a message is about
 *   Numbers       reads a file of whole numbers
 *
 * All examples share these exit statuses; where several apply, the largest counts:
 *
 *     0   done
 *     1   an input was missing or malformed (the others were worked on all the same), or memory ran out
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

#include <ku.h>

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

inline void complain(const Where& where, const std::string& message)
{
  std::fflush(stdout);
  std::fprintf(stderr, "%s: %s\n", where.text().c_str(), message.c_str());
}

// Once the solver runs, its own default ends the process when memory runs out. Only cs_init has to be asked.
[[noreturn]] inline void outOfMemory(const char* program)
{
  std::fprintf(stderr, "%s: out of memory\n", program);
  std::exit(badInput);
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
      return fail("ends where " + what + " should stand"), low;
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
 * Running a search
 * ------------------------------------------------------------------------------------------------------------------ */

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start)
{
  return std::chrono::duration<double>(Clock::now() - start).count();
}

enum class Stop { none, timeLimit, interrupt };

// What a search came to. With `found` 0 and nothing that stopped it, there is no solution.
struct Outcome
{
  bool found = false;
  Stop stop = Stop::none;
  uint64_t choicePoints = 0;
  uint64_t fails = 0;
  double seconds = 0;

  // "123 choice points, 45 fails, 0.006 s"
  std::string cost() const
  {
    char text[120];
    std::snprintf(text, sizeof text, "%s, %s, %.3f s",
        plural(static_cast<long long>(choicePoints), "choice point", "choice points").c_str(),
        plural(static_cast<long long>(fails), "fail", "fails").c_str(), seconds);
    return text;
  }
};

inline volatile std::sig_atomic_t caughtSignal = 0;

inline const char* stopText(Stop stop)
{
  return stop == Stop::timeLimit ? "time limit" : stop == Stop::interrupt ? "interrupted" : "";
}

// From here on Ctrl-C and a termination signal only raise a flag; the same signal a second time ends the process.
// Without SA_RESTART a read from a terminal comes back, too, when the signal arrives.
inline void catchInterrupts()
{
  struct sigaction action = {};
  action.sa_handler = [](int number) { caughtSignal = number; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

inline std::string stoppedText(const Outcome& outcome)
{
  return std::string("stopped (") + stopText(outcome.stop) + ')';
}

inline int worse(int status, Stop stop)
{
  if (caughtSignal)
    return std::max(status, signalled + static_cast<int>(caughtSignal));
  return stop == Stop::timeLimit ? std::max<int>(status, outOfTime) : status;
}

// A selector has no argument of its own, so what it watches stands at file level. One search runs at a time.
struct Watch
{
  std::string title; // shown in front of the progress
  Clock::time_point start;
  Clock::time_point deadline = Clock::time_point::max();
  Clock::time_point nextReport;
  uint32_t seenChoicePoints = 0;
  uint32_t seenFails = 0;
  bool onTerminal = false;
  Outcome outcome;
};
inline Watch watch;

// All searches from now on share this limit; 0 is none.
inline void setTimeLimit(double seconds)
{
  watch.deadline =
      seconds > 0 ? Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
                  : Clock::time_point::max();
}

// The library's counters have 32 bits and wrap, which a search of an hour can reach: the steps are summed in 64.
inline void followCounters()
{
  const auto choicePoints = static_cast<uint32_t>(cs_getNbChoicePoints());
  const auto fails = static_cast<uint32_t>(cs_getNbFails());
  watch.outcome.choicePoints += choicePoints - watch.seenChoicePoints;
  watch.outcome.fails += fails - watch.seenFails;
  watch.seenChoicePoints = choicePoints;
  watch.seenFails = fails;
}

inline void showProgress(Clock::time_point now)
{
  if (!watch.onTerminal || now < watch.nextReport)
    return;
  watch.nextReport = now + std::chrono::milliseconds(200);
  watch.outcome.seconds = secondsSince(watch.start);
  std::fprintf(stderr, "\r%s: %s\033[K", watch.title.c_str(), watch.outcome.cost().c_str());
}

// Starts the solver, and has it obey Ctrl-C and the time limit from now on.
inline void startSolver(const char* program, double seconds)
{
  cs_init();
  if (cs_getErr())
    outOfMemory(program);
  catchInterrupts();
  setTimeLimit(seconds);
}

// Called at every level of a search. The request to stop goes to the driver here and not in the signal handler: a
// driver clears requests on entry, and so one that a handler made just before would be lost.
inline void lookAround()
{
  followCounters();
  const Clock::time_point now = Clock::now();
  if (caughtSignal)
    watch.outcome.stop = Stop::interrupt;
  else if (now >= watch.deadline)
    watch.outcome.stop = Stop::timeLimit;
  if (watch.outcome.stop != Stop::none)
    cs_cancelSearch();
  showProgress(now);
}

// For drivers under runSearch: cs_search(variables, n, obedient<cs_findFreeVarNbElements>).
template <CSfindFreeVar choose>
CSint* obedient(CSint** variables, int n)
{
  lookAround();
  return choose(variables, n);
}

// Runs `driver`, a call of a search driver with an obedient selector. Contexts are left to the caller.
template <class Driver>
Outcome runSearch(std::string title, Driver driver)
{
  watch.title = std::move(title);
  watch.start = Clock::now();
  watch.onTerminal = isatty(STDERR_FILENO) == 1;
  watch.nextReport = watch.start + std::chrono::milliseconds(200);
  watch.seenChoicePoints = watch.seenFails = 0;
  watch.outcome = {};
  // A driver that isn't entered, as no solution is left before, would leave the counters of the last one.
  cs_search(nullptr, 0, cs_findFreeVar);
  watch.outcome.found = driver() != 0;
  followCounters();
  watch.outcome.seconds = secondsSince(watch.start);
  if (watch.onTerminal)
    std::fputs("\r\033[K", stderr);
  return watch.outcome;
}

} // namespace example

#endif // KU_EXAMPLES_SUPPORT_H
