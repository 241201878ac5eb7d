/*
 * The ground under every test: a fixture that starts and ends the solver, variables from text and domains as text. The
 * text is made here from the record's fields, independent of the library's own printing.
 */
#ifndef KIT_SOLVER_H
#define KIT_SOLVER_H

#include "rcs.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kit {

using Vars = std::vector<CSint*>;
using Values = std::vector<int>;

/// "5", "{3, 4}", "{1, 3..5}": a stretch of three and more values is written with two dots.
std::string textOf(const CSint* v);
std::string textOf(const Values& ascending);
Values valuesOf(const CSint* v);

/// A new variable from such a text; braces are optional: makeVar("1..9"), makeVar("{-3, 1..4}"), makeVar("7").
CSint* makeVar(const std::string& text);

/// A new variable of the values, made in one of several ways that differ in what lies behind the domain: a plain range,
/// a bit-set, a range that was wider before, a bit-set whose bits are all on again. `way` picks one.
CSint* makeVar(const Values& ascending, unsigned way);

/// Attachments now in place.
int nbAttached(const CSint* v);

/// Number of contexts on the stack.
int contextDepth();

/// The position of the first free variable, or -1: for the search drivers that ask for positions.
int firstFree(CSint** vars, int n);

/// A locator that costs nothing; for cs_setProfilerLocator.
const char* cheapLocator(void*);

/// The text to be written to the error stream if the process dies of a signal from now on; empty for none.
void noteForCrash(const std::string& text);

/// Several variables, each from its text; and the texts of several, with a blank between.
Vars makeVars(const std::vector<std::string>& domains);
std::string textsOf(const Vars& vars);

/// Of the newest attachment.
inline Constraint* constraintOf(const CSint* v) { return v->_constraints->_constraint; }
inline const ConstraintInfo* infoOf(const CSint* v) { return constraintOf(v)->_info; }

/// The newest attachments of what was posted together, "cs_Sigma 2: a b[0] b[1]": the name and the holders of the one
/// info, and for each variable a letter for its constraint, with the index where that isn't -1.
std::string postedOn(const Vars& vars);

/// Starts the solver for each test and ends it afterwards, when the error code and the depth of the context stack must
/// be what the test announced.
class SolverTest : public testing::Test
{
protected:
  void SetUp() override;
  void TearDown() override;

  int expectedErr = 0;
  int expectedDepth = 0;
  bool ended = false; ///< set by a test that has called cs_end itself
};

/// The counters of the last search: "2 choices 1 fails".
inline std::string counters()
{
  return std::to_string(cs_getNbChoicePoints()) + " choices " + std::to_string(cs_getNbFails()) + " fails";
}

/// Three variables that must differ pairwise and have two values: only search sees that there is no solution.
Vars pigeons();

/// The values of instantiated variables.
Values valuesOf(CSint** vars, int n);

} // namespace kit

#endif
