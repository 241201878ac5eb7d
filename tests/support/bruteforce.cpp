#include "bruteforce.h"

#include "snapshot.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace kit {

namespace {

constexpr size_t maxTuples = 2000; ///< the domains are drawn so that there are no more tuples of arguments
constexpr int64_t maxHull = 20000; ///< with more tuples in the intervals bounds consistency isn't looked at

struct Fault
{
  std::string text;
};

std::string textOfTuple(const Values& values)
{
  std::string text = "(";
  for (int x : values)
    text += (text.size() > 1 ? ", " : "") + std::to_string(x);
  return text + ")";
}

/// An interval of so many values that they aren't looked at one by one: some results begin so.
bool isWide(int64_t min, int64_t max) { return max - min > 10000; }
bool isWide(const CSint* v) { return isWide(v->_min, v->_max); }

// cs_findAll has no place for a client's pointer.
const Vars* foundTuple;
std::vector<Values>* foundValues;

void found(CSint**, int)
{
  Values values;
  for (const CSint* v : *foundTuple) {
    if (!cs_isInstantiated(v))
      return foundValues->push_back({});
    values.push_back(v->_min);
  }
  foundValues->push_back(values);
}

class Bench
{
public:
  Bench(const Row& row, uint64_t number) : _row(row) { _t.random = Random(seedOf(row.name, number)); }

  void run(bool* hasSolution);
  std::string story() const { return _story.str(); }

private:
  struct Frame
  {
    int label;
    Snapshot before;
    std::vector<Values> solutions;
  };

  void draw();
  Values drawDomain(const Group& group);
  void solve();
  bool post();
  void play(int rounds);
  bool narrow(const Values* target);
  void pushFrame();
  void popFrames(size_t depth);
  void search();
  void searchOver(const Vars& order, CSfindFreeVar select, bool sameOrder);

  Sets setsNow();
  void checkOutcome(bool ok, const Sets* predicted);
  void checkRecords();
  void checkStrength();
  bool holds(const Values& tuple) const;
  [[noreturn]] void fault(const std::string& what);

  const Row& _row;
  Trial _t;
  std::vector<Values> _domains; // of x, as drawn
  std::vector<Values> _allSolutions;
  std::vector<Values> _solutions; // those within the present requests
  Vars _results;
  Vars _tuple;    // x and the results
  Vars _distinct; // each variable of the tuple once
  std::vector<Frame> _frames;
  std::vector<Set> _sets; // storage behind setsNow
  std::ostringstream _story;
};

void Bench::fault(const std::string& what)
{
  std::string now;
  for (const CSint* v : _tuple)
    now += (now.empty() ? "" : ", ") + textOf(v);
  throw Fault{what + "\n  domains now: " + now};
}

Values Bench::drawDomain(const Group& group)
{
  Random& random = _t.random;
  int size = random.chance(group.constants) ? 1 : random.pick(1, group.size);
  int low = random.pick(group.values.low, group.values.high);
  Values values;
  bool holes = random.chance(group.holes);
  for (int x = low; x <= group.values.high && int(values.size()) < size; x++)
    if (!holes || values.empty() || !random.chance(35))
      values.push_back(x);
  return values;
}

// The variables, as values first, so that too large a product can be cut down.
void Bench::draw()
{
  Random& random = _t.random;
  if (_row.prepare)
    _row.prepare(_t);
  std::vector<int> same;
  for (const Group& group : _row.vars) {
    int count = random.pick(group.count.low, group.count.high);
    _t.sizes.push_back(count);
    for (int i = 0; i < count; i++) {
      Values values = drawDomain(group);
      int twin = -1;
      if (!same.empty() && random.chance(group.twice)) {
        twin = random.pick(0, int(same.size()) - 1);
        twin = same[size_t(twin)] >= 0 ? same[size_t(twin)] : twin;
        const Values& other = _domains[size_t(twin)];
        if (other.front() < group.values.low || other.back() > group.values.high)
          twin = -1;
      }
      same.push_back(twin);
      _domains.push_back(twin >= 0 ? Values{} : values);
    }
  }
  for (;;) {
    size_t product = 1;
    Values* widest = &_domains[0];
    for (Values& values : _domains) {
      product *= std::max<size_t>(values.size(), 1);
      if (values.size() > widest->size())
        widest = &values;
    }
    if (product <= maxTuples)
      break;
    widest->erase(widest->begin() + random.pick(0, int(widest->size()) - 1));
  }
  for (size_t i = 0; i < _domains.size(); i++) {
    if (same[i] >= 0) {
      _domains[i] = _domains[size_t(same[i])];
      _t.x.push_back(_t.x[size_t(same[i])]);
      _story << "x" << i << " = x" << same[i] << ", ";
    } else {
      _t.x.push_back(makeVar(_domains[i], unsigned(random.pick(0, 4))));
      _story << "x" << i << " = " << textOf(_domains[i]) << ", ";
    }
  }
  _story << "p = " << textOfTuple(_t.p) << "\n  steps:";
  _tuple = _t.x;
}

bool Bench::holds(const Values& tuple) const
{
  if (_row.holds)
    return _row.holds(tuple, _t.p);
  auto value = _row.value(Values(tuple.begin(), tuple.end() - 1), _t.p);
  return value && *value == tuple.back();
}

// All solutions over the drawn domains, in the order in which a search over the arguments visits them.
void Bench::solve()
{
  std::vector<Set> sets;
  for (const Values& values : _domains)
    sets.emplace_back(values.begin(), values.end());
  for (Range range : _row.results) {
    sets.emplace_back();
    for (int x = range.low; x <= range.high; x++)
      sets.back().insert(x);
  }
  Sets x;
  for (size_t i = 0; i < sets.size(); i++) {
    size_t first = i;
    for (size_t k = 0; k < i && i < _t.x.size(); k++)
      if (_t.x[k] == _t.x[i])
        first = std::min(first, k);
    x.push_back(&sets[first]);
  }
  naive::eachTuple(x, [&](const Values& tuple) {
    if (_row.holds) {
      if (_row.holds(tuple, _t.p))
        _allSolutions.push_back(tuple);
    } else if (auto value = _row.value(tuple, _t.p); value && *value >= INT32_MIN && *value <= INT32_MAX) {
      _allSolutions.push_back(tuple);
      _allSolutions.back().push_back(int(*value));
    }
  });
}

Sets Bench::setsNow()
{
  _sets.assign(_tuple.size(), {});
  Sets sets;
  for (size_t i = 0; i < _tuple.size(); i++) {
    size_t first = size_t(std::find(_tuple.begin(), _tuple.end(), _tuple[i]) - _tuple.begin());
    if (first == i && !isWide(_tuple[i])) {
      Values values = valuesOf(_tuple[i]);
      _sets[i] = Set(values.begin(), values.end());
    }
    sets.push_back(&_sets[first]);
  }
  return sets;
}

bool Bench::post()
{
  _tuple = _t.x;
  _solutions = _allSolutions;
  Sets predicted = setsNow();
  Posted posted = _row.post(_t);
  _results = posted.ok ? posted.results : Vars{};
  _tuple.insert(_tuple.end(), _results.begin(), _results.end());
  _distinct.clear();
  for (CSint* v : _tuple)
    if (std::find(_distinct.begin(), _distinct.end(), v) == _distinct.end())
      _distinct.push_back(v);
  // The domain of a new result is the constraint's own choice: all that can be said is that nothing is left to do.
  bool functional = _row.value || !_row.results.empty();
  if (functional && posted.ok)
    predicted = setsNow();
  checkOutcome(posted.ok, _row.exact && (posted.ok || !functional) ? &predicted : nullptr);
  return posted.ok;
}

// After a posting or a narrowing: is the result right, and are the domains? `predicted` holds the domains before the
// constraint's own work.
void Bench::checkOutcome(bool ok, const Sets* predicted)
{
  if (!ok && !_solutions.empty() && !_row.mayLose)
    fault("failed, but " + textOfTuple(_solutions[0]) + " is a solution");
  if (predicted && std::none_of(_tuple.begin(), _tuple.end(), [](auto* v) { return isWide(v); })) {
    bool expected = closure({{&_row.exact, *predicted, &_t.p}});
    if (expected != ok)
      fault(ok ? "succeeded, but the exact rule fails" : "failed, but the exact rule doesn't");
    for (size_t i = 0; ok && i < _tuple.size(); i++) {
      Values values((*predicted)[i]->begin(), (*predicted)[i]->end());
      if (values != valuesOf(_tuple[i]))
        fault("variable " + std::to_string(i) + " must be " + textOf(values) + " by the exact rule");
    }
  }
  if (!ok)
    return;
  checkRecords();
  if (!_row.mayLose)
    for (const Values& solution : _solutions)
      for (size_t i = 0; i < _tuple.size(); i++)
        if (!cs_isIn(_tuple[i], solution[i]))
          fault("variable " + std::to_string(i) + " has lost " + std::to_string(solution[i]) + " of the solution " +
                textOfTuple(solution));
  Values tuple;
  for (const CSint* v : _tuple)
    if (cs_isInstantiated(v))
      tuple.push_back(v->_min);
  if (tuple.size() == _tuple.size() && !holds(tuple))
    fault("accepted " + textOfTuple(tuple) + ", which is no solution");
  checkStrength();
}

void Bench::checkRecords()
{
  for (const CSint* v : _distinct) {
    if (v->_propMin != v->_min || v->_propMax != v->_max)
      fault("a bound was never told to the handlers");
    if (isWide(v))
      continue;
    Values values = valuesOf(v);
    if (values.empty() || values.front() != v->_min || values.back() != v->_max || int(values.size()) != v->_nbElements)
      fault("the record doesn't agree with its bit-set: " + textOf(v) + " with _nbElements " +
            std::to_string(v->_nbElements));
  }
}

// A constraint takes a variable that is given twice for two variables with equal domains, and so does this.
void Bench::checkStrength()
{
  if (_row.strength == Strength::none)
    return;
  bool bounds = _row.strength == Strength::bounds;
  if (!bounds && _distinct.size() < _tuple.size())
    return;
  std::vector<Set> standing(_tuple.size());
  auto note = [&](const Values& tuple) {
    for (size_t i = 0; i < tuple.size(); i++)
      standing[i].insert(tuple[i]);
  };
  if (bounds) {
    std::vector<Set> hulls(_row.value ? _t.x.size() : _tuple.size());
    Sets all;
    int64_t product = 1;
    for (size_t i = 0; i < hulls.size(); i++) {
      product *= int64_t(_tuple[i]->_max) - _tuple[i]->_min + 1;
      if (product > maxHull)
        return;
      for (int x = _tuple[i]->_min; x <= _tuple[i]->_max; x++)
        hulls[i].insert(x);
      all.push_back(&hulls[i]);
    }
    naive::eachTuple(all, [&](Values tuple) {
      if (_row.value) {
        auto value = _row.value(tuple, _t.p);
        if (!value || *value < _tuple.back()->_min || *value > _tuple.back()->_max)
          return;
        tuple.push_back(int(*value));
      } else if (!_row.holds(tuple, _t.p)) {
        return;
      }
      note(tuple);
    });
  } else {
    for (const Values& solution : _solutions)
      note(solution);
  }
  for (size_t i = 0; i < _tuple.size(); i++) {
    if (!bounds && isWide(_tuple[i]))
      continue;
    for (int value : bounds ? Values{_tuple[i]->_min, _tuple[i]->_max} : valuesOf(_tuple[i]))
      if (!standing[i].count(value))
        fault("variable " + std::to_string(i) + " has kept " + std::to_string(value) + ", which has no support");
  }
}

// One request on one variable; with a target only such as the target allows.
bool Bench::narrow(const Values* target)
{
  static const char* const names[] = {"=", "!=", "<=", ">="};
  Random& random = _t.random;
  size_t position = size_t(random.pick(0, int(_tuple.size()) - 1));
  CSint* v = _tuple[position];
  Values values = isWide(v) ? Values{v->_min, v->_max} : valuesOf(v);
  if (isWide(v) && !_solutions.empty())
    values = {random.oneOf(_solutions)[position]};
  // A hole in what began wide would take a bit-set of that width.
  int op = isWide(v->_initMin, v->_initMax) ? random.pick(2, 3) : random.pick(0, 3);
  int value = random.oneOf(values);
  if (random.chance(15) && value > INT32_MIN && value < INT32_MAX)
    value += random.pick(-1, 1);
  auto agrees = [&](int x) { return op == 0 ? x == value : op == 1 ? x != value : op == 2 ? x <= value : x >= value; };
  if (target && !agrees((*target)[position])) {
    op = op == 1 ? 0 : op;
    value = (*target)[position];
  }
  _story << " x" << position << " " << names[op] << " " << value << ";";
  std::vector<bool> wide;
  for (const CSint* each : _tuple)
    wide.push_back(isWide(each));
  Sets predicted = setsNow();
  std::erase_if(*predicted[position], [&](int x) { return !agrees(x); });
  std::erase_if(_solutions, [&](const Values& solution) { return !agrees(solution[position]); });
  int ok = op == 0 ? cs_EQ(v, value) : op == 1 ? cs_NEQ(v, value) : op == 2 ? cs_LE(v, value) : cs_GE(v, value);
  for (size_t i = 0; ok && i < _tuple.size(); i++)
    if (!wide[i])
      for (int x : valuesOf(_tuple[i]))
        if (!predicted[i]->count(x))
          fault("variable " + std::to_string(i) + " has got " + std::to_string(x));
  bool known = std::find(wide.begin(), wide.end(), true) == wide.end();
  checkOutcome(ok, _row.exact && known ? &predicted : nullptr);
  return ok;
}

void Bench::pushFrame()
{
  Snapshot before(_distinct);
  _frames.push_back({cs_saveContext(), std::move(before), _solutions});
  _story << " save;";
}

// Restores in one of the ways that there are, until so many frames are left.
void Bench::popFrames(size_t depth)
{
  Frame frame = std::move(_frames[depth]);
  bool single = depth + 1 == _frames.size();
  _frames.resize(depth, frame);
  _story << " restore;";
  if (!single && _t.random.chance(50))
    cs_forgetSaveContextUntil(frame.label + 1);
  if (_t.random.chance(30)) {
    cs_restoreContextUntil(frame.label);
  } else {
    while (contextDepth() > frame.label)
      cs_restoreContext();
    if (_t.random.chance(30))
      cs_restoreAndSaveContext();
    cs_restoreContext();
  }
  _solutions = std::move(frame.solutions);
  if (std::string changes = frame.before.changes(); !changes.empty())
    fault("not as it was before the context:\n" + changes);
}

void Bench::play(int rounds)
{
  Random& random = _t.random;
  for (int round = 0; round < rounds; round++) {
    const Values* target = _solutions.empty() || random.chance(40) ? nullptr : &random.oneOf(_allSolutions);
    size_t depth = _frames.size();
    pushFrame();
    if (target && std::find(_solutions.begin(), _solutions.end(), *target) == _solutions.end())
      target = nullptr;
    for (int step = random.pick(1, 7); step > 0 && narrow(target); step--)
      if (random.chance(20))
        pushFrame();
    if (_frames.size() > depth + 1 && random.chance(50))
      popFrames(_frames.size() - 1);
    popFrames(depth);
  }
}

void Bench::searchOver(const Vars& order, CSfindFreeVar select, bool sameOrder)
{
  Vars vars = order;
  std::vector<Values> values;
  foundTuple = &_tuple;
  foundValues = &values;
  Snapshot before(_distinct);
  int depth = contextDepth();
  _story << " findAll;";
  int result = cs_findAll(vars.data(), int(vars.size()), select, found);
  if (bool(result) != !values.empty())
    fault("cs_findAll returned " + std::to_string(result));
  if (std::string changes = before.changesOfVars() + (contextDepth() == depth ? "" : "the context stack");
      !changes.empty())
    fault("not as it was before the search:\n" + changes);
  std::vector<Values> expected = _solutions;
  if (!sameOrder)
    std::sort(expected.begin(), expected.end()), std::sort(values.begin(), values.end());
  for (const Values& tuple : values) {
    if (tuple.empty())
      fault("the result is free although the arguments are instantiated");
    if (std::find(expected.begin(), expected.end(), tuple) == expected.end())
      fault("the search found " + textOfTuple(tuple) + ", which is no solution");
  }
  if (_row.mayLose)
    return;
  if (values != expected) {
    for (const Values& tuple : expected)
      if (std::find(values.begin(), values.end(), tuple) == values.end())
        fault("the search didn't find " + textOfTuple(tuple));
    fault("the search found a solution twice or in the wrong order");
  }
}

void Bench::search()
{
  // A functional constraint fixes its result once the arguments are known.
  Vars inOrder(
      _distinct.begin(), _row.value ? std::find(_distinct.begin(), _distinct.end(), _results[0]) : _distinct.end());
  searchOver(inOrder, cs_findFreeVar, true);
  Vars shuffled = _distinct;
  for (size_t i = shuffled.size(); i > 1; i--)
    std::swap(shuffled[i - 1], shuffled[size_t(_t.random.pick(0, int(i) - 1))]);
  searchOver(shuffled, cs_findFreeVarNbElements, false);
}

void Bench::run(bool* hasSolution)
{
  draw();
  solve();
  *hasSolution = !_allSolutions.empty();

  _distinct = _tuple;
  pushFrame();
  _story << " post;";
  Snapshot beforePosting(_t.x);
  if (post())
    play(2);
  _story << " restore;";
  cs_restoreContextUntil(_frames[0].label);
  _frames.clear();
  if (std::string changes = beforePosting.changes(); !changes.empty())
    fault("not as it was before posting:\n" + changes);

  _story << " post;";
  if (post()) {
    play(5);
    search();
  }
}

const char* environment(const char* name)
{
  const char* text = getenv(name);
  return text && *text ? text : nullptr;
}

} // namespace

std::string faultOfTrial(const Row& row, uint64_t number, bool* hasSolution)
{
  bool ignored;
  std::string text;
  cs_init();
  Bench bench(row, number);
  // Now and then the default locator, which captures the stack and is slow.
  if (number % 8)
    cs_setProfilerLocator("test", cheapLocator, nullptr);
  try {
    bench.run(hasSolution ? hasSolution : &ignored);
    if (cs_getErr())
      text = "the error code is " + std::to_string(cs_getErr());
  } catch (const Fault& fault) {
    text = fault.text;
  }
  cs_end();
  if (!text.empty()) {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    text = std::string(row.name) + ", trial " + std::to_string(number) + ": " + text + "\n  drawn: " + bench.story() +
           "\n  again: KU_TRIAL=" + std::to_string(number) + " " + program_invocation_short_name +
           " --gtest_filter=" + (test ? std::string(test->test_suite_name()) + "." + test->name() : "");
  }
  return text;
}

std::string faultOf(const Row& row)
{
  if (const char* number = environment("KU_TRIAL"))
    return faultOfTrial(row, strtoull(number, nullptr, 10));
  const char* wanted = environment("KU_TRIALS");
  uint64_t trials = wanted ? strtoull(wanted, nullptr, 10) : uint64_t(row.trials);
  uint64_t withSolution = 0;
  for (uint64_t number = 0; number < trials; number++) {
    bool hasSolution = false;
    noteForCrash(std::string(row.name) + ", KU_TRIAL=" + std::to_string(number));
    std::string fault = faultOfTrial(row, number, &hasSolution);
    noteForCrash("");
    if (!fault.empty())
      return fault;
    withSolution += hasSolution;
  }
  return withSolution * 10 >= trials ? "" : "fewer than a tenth of the trials have a solution: draw other domains";
}

namespace {

class RowTest : public testing::Test
{
public:
  explicit RowTest(const Row& row) : _row(row) {}
  void TestBody() override
  {
    if (std::string fault = faultOf(_row); !fault.empty())
      ADD_FAILURE() << fault;
  }

private:
  Row _row;
};

} // namespace

int bruteForce(const char* suite, const std::vector<Row>& rows, const char* file, int line)
{
  for (const Row& row : rows)
    testing::RegisterTest(
        suite, row.name, nullptr, nullptr, file, line, [row]() -> testing::Test* { return new RowTest(row); });
  return int(rows.size());
}

} // namespace kit
