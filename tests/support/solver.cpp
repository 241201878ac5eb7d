#include "solver.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace kit {

using Runs = std::vector<std::pair<int, int>>; ///< first and last of each unbroken stretch, ascending

static std::string textOf(const Runs& runs)
{
  if (runs.size() == 1 && runs[0].first == runs[0].second)
    return std::to_string(runs[0].first);
  std::string text;
  for (auto [first, last] : runs) {
    text += (text.empty() ? "{" : ", ") + std::to_string(first);
    if (first != last)
      text += (int64_t(first) + 1 == last ? ", " : "..") + std::to_string(last);
  }
  return (text.empty() ? "{" : text) + "}";
}

std::string textOf(const Values& ascending)
{
  Runs runs;
  for (int x : ascending) {
    if (!runs.empty() && int64_t(runs.back().second) + 1 == x)
      runs.back().second = x;
    else
      runs.push_back({x, x});
  }
  return textOf(runs);
}

std::string textOf(const CSint* v) { return v->_domain ? textOf(valuesOf(v)) : textOf(Runs{{v->_min, v->_max}}); }

Values valuesOf(const CSint* v)
{
  Values values;
  for (int64_t x = v->_min; x <= v->_max; x++)
    if (!v->_domain || rcsDomainIsOn(v->_domain, int(x)))
      values.push_back(int(x));
  return values;
}

CSint* makeVar(const std::string& text)
{
  Values values;
  Runs runs;
  const char* s = text.c_str();
  for (s += *s == '{'; *s && *s != '}'; s += *s == ',') {
    char* end;
    int first = int(strtol(s, &end, 10));
    int last = end[0] == '.' && end[1] == '.' ? int(strtol(end + 2, &end, 10)) : first;
    if (end == s || last < first) {
      ADD_FAILURE() << "not a domain: " << text;
      return nullptr;
    }
    runs.push_back({first, last});
    s = end;
  }
  if (runs.size() == 1)
    return cs_createCSint(runs[0].first, runs[0].second);
  for (auto [first, last] : runs)
    for (int64_t x = first; x <= last; x++)
      values.push_back(int(x));
  return cs_createCSintFromDomain(values.data(), int(values.size()));
}

static CSint* withHoles(CSint* v, const Values& ascending)
{
  cs_GE(v, ascending.front());
  cs_LE(v, ascending.back());
  size_t next = 0;
  for (int x = ascending.front(); x < ascending.back(); x++) {
    if (x == ascending[next])
      next++;
    else
      cs_NEQ(v, x);
  }
  return v;
}

CSint* makeVar(const Values& ascending, unsigned way)
{
  int low = ascending.front(), high = ascending.back();
  switch (way % 5) {
  case 0:
    return cs_createCSintFromDomain(ascending.data(), int(ascending.size()));
  case 1:
    return withHoles(cs_createCSint(low - 3, high + 2), ascending);
  case 2: {
    CSint* v = withHoles(cs_createCSint(low - 1, high + 1), ascending);
    cs_saveContext();
    for (int x : ascending)
      if (x != low && x != high)
        cs_NEQ(v, x);
    cs_restoreContext();
    return v;
  }
  case 3:
    return low == high ? CSINT(low) : withHoles(cs_createCSint(low, high), ascending);
  default:
    return withHoles(cs_createCSint(low, high), ascending);
  }
}

int nbAttached(const CSint* v)
{
  int n = 0;
  for (const Tconstraint* t = v->_constraints; t; t = t->_next)
    n++;
  return n;
}

int contextDepth()
{
  int label = cs_saveContext();
  cs_forgetSaveContext();
  return label - 1;
}

int firstFree(CSint** vars, int n)
{
  for (int i = 0; i < n; i++)
    if (cs_isFree(vars[i]))
      return i;
  return -1;
}

const char* cheapLocator(void*) { return "test"; }

Vars makeVars(const std::vector<std::string>& domains)
{
  Vars vars;
  for (const std::string& domain : domains)
    vars.push_back(makeVar(domain));
  return vars;
}

std::string textsOf(const Vars& vars)
{
  std::string texts;
  for (const CSint* v : vars)
    texts += (texts.empty() ? "" : " ") + textOf(v);
  return texts;
}

std::string postedOn(const Vars& vars)
{
  const ConstraintInfo* info = infoOf(vars[0]);
  std::string text = info->_function + (" " + std::to_string(info->_refCount)) + ":";
  std::vector<const Constraint*> known;
  for (const CSint* v : vars) {
    if (!v->_constraints || infoOf(v) != info) {
      text += " none";
      continue;
    }
    auto place = std::find(known.begin(), known.end(), constraintOf(v));
    text += std::string(" ") + char('a' + (place - known.begin()));
    if (place == known.end())
      known.push_back(constraintOf(v));
    if (int index = v->_constraints->_index; index != -1)
      text += "[" + std::to_string(index) + "]";
  }
  return text;
}

static char crashNote[256];

// Writes the note and dies of the same signal.
static void lastWords(int signal)
{
  const char* head = "\nwhile running: ";
  if (*crashNote && write(STDERR_FILENO, head, strlen(head)) > 0 &&
      write(STDERR_FILENO, crashNote, strlen(crashNote)) > 0)
    fsync(STDERR_FILENO);
  raise(signal);
}

void noteForCrash(const std::string& text)
{
  strncpy(crashNote, text.c_str(), sizeof crashNote - 1);
  for (int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
    // A sanitizer's own handler says more.
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
      action.sa_handler = lastWords;
      action.sa_flags = int(SA_RESETHAND);
      sigaction(signal, &action, nullptr);
    }
  }
}

void SolverTest::SetUp()
{
  cs_init();
  ASSERT_EQ(cs_getErr(), 0);
}

void SolverTest::TearDown()
{
  EXPECT_EQ(cs_getErr(), expectedErr);
  if (!ended) {
    EXPECT_EQ(contextDepth(), expectedDepth);
  }
  cs_end();
}

Vars pigeons()
{
  Vars v = {makeVar("{3, 7}"), makeVar("{3, 7}"), makeVar("{3, 7}")};
  cs_Neq(v[0], v[1]);
  cs_Neq(v[1], v[2]);
  cs_Neq(v[0], v[2]);
  return v;
}

Values valuesOf(CSint** vars, int n)
{
  Values values;
  for (int i = 0; i < n; i++)
    values.push_back(cs_getValue(vars[i]));
  return values;
}

} // namespace kit
