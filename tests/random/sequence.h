/*
 * Random sequences of public calls, compared after every call with a slow, plain model: sets of values for the domains,
 * a whole copy of them for each context, and naive propagation.
 *
 * A constraint is known to the model by two rules. The strong one says the most that the constraint may remove, the
 * weak one the least that it must. Where they are the same rule, domains, failures and the counters of a search are
 * foretold exactly; where they differ, no more may go than by the strong rules and nothing may be left to do by the
 * weak ones, and what the solver made of it is the model's next state. A constraint of which only its solutions are
 * known has a row with `holds` alone.
 *
 * Sequences run in a child process, so that one that crashes or hangs is reported with its seed and its steps.
 */
#ifndef KIT_SEQUENCE_H
#define KIT_SEQUENCE_H

#include "bruteforce.h"

namespace kit {

struct SequenceRow
{
  const char* name;
  int weight = 10;         ///< how often it is drawn
  Range count = {2, 2};    ///< number of arguments
  bool distinct = false;   ///< no variable twice
  bool lasting = true;     ///< stays attached; otherwise it narrows once
  bool functional = false; ///< makes result variables, which stand behind the arguments in the rules
  std::function<Values(Random&)> parameters = nullptr;

  /// Posts. Both arrays live until the end of the sequence. A result becomes a variable of the sequence.
  std::function<Posted(Vars& x, Values& p)> post;

  Rule strong = nullptr;
  Rule weak = nullptr; ///< null: the same as the strong rule

  /// In place of the rules: the solutions, or the value of the result variable, if there is one; that is functional,
  /// too.
  Test holds = nullptr;
  Value value = nullptr;
};

/// What was run in a child process: the last seed with its fault, if any, and its steps.
struct ChildRun
{
  uint64_t seed = 0, done = 0;
  std::string fault = "", story = "";
};

/// Returns its fault, or an empty text; writes its steps into the story as it makes them.
using RunOne = std::function<std::string(uint64_t seed, char* story, size_t size)>;

/// Runs in a child process, from the seed `first` on, until `count` have run, one has a fault, crashes or leaves
/// blocks, or the time is up.
ChildRun runInChild(const RunOne& one, uint64_t first, uint64_t count, double seconds);

/// Sequences against the model: the text of the first fault, with all that is needed to repeat it, or empty. `done` is
/// the number that ran.
std::string runSequences(
    const std::vector<SequenceRow>& rows, uint64_t first, uint64_t count, double seconds, uint64_t* done = nullptr);

} // namespace kit

#endif
