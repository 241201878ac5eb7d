#include "sequence.h"

#include "heapWatch.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kit {

namespace {

struct Fault
{
  std::string text;
};

struct TooLong
{};

/// A constraint that was posted.
struct Placed
{
  const SequenceRow* row;
  Vars x;
  Values p;
  std::vector<size_t> scope;    ///< numbers of the arguments and the results
  std::vector<int> attachments; ///< made by it, for each variable
};

/// What a restore brings back.
struct State
{
  std::vector<Set> domains;
  std::vector<size_t> active; ///< numbers of the constraints in place
};

/// What a context, a registered function or an array on the trail is to the model.
struct Entry
{
  enum Kind { context, function, array } kind;
  State before;
  int id;
};

using Selector = size_t (*)(const State&, const std::vector<size_t>&, const Vars&);

class Sequence
{
public:
  Sequence(const std::vector<SequenceRow>& rows, SequenceCase which, char* story, size_t size)
    : _rows(rows), _nbRows(which.rows), _random(which.seed), _story(story), _room(size)
  {}

  void run();

private:
  // Steps
  void create();
  void post(bool lasting);
  void save();
  void restore();
  void restoreAndSave();
  void forget();
  void accept();
  void registerFunction();
  void search();
  void query();
  void rename();
  void recover();

  // The model
  bool close(State& state, bool strong) const;
  bool isExact() const;
  const Set& domainOf(const State& state, size_t i) const;
  State extended(const State& state) const;
  void outcome(bool ok, State request);
  size_t entryOf(int label) const;
  int depth() const;
  void popTo(int label);
  void dropTo(int label);
  bool mayAccept(int label) const;
  void adopt(CSint* v, Set initial);
  int simulate(State& state, const std::vector<size_t>& order, Selector select, int limit, bool all);

  void compare();
  void expectUndone(int label);
  static void undone(void* self, int id);
  static void undoneWide(void* self, int64_t id) { undone(self, int(id)); }
  int pickLabel(int low) { return _random.pick(low, depth() + 1); }
  void say(const char* format, ...) __attribute__((format(printf, 2, 3)));
  [[noreturn]] void fault(const std::string& text) const { throw Fault{text}; }

  const std::vector<SequenceRow>& _rows;
  size_t _nbRows;
  Random _random;
  char* _story;
  size_t _room;

  Vars _vars;
  std::vector<std::string> _names;
  std::vector<Set> _initial; // the domains at creation: what a context older than the variable restores
  std::vector<int> _everAttached;
  std::vector<std::unique_ptr<Placed>> _postings;
  State _now;
  bool _over = false;   // the model can't follow any further
  bool _failed = false; // the domains are unknown until a context is restored
  std::vector<Entry> _entries;
  std::vector<std::pair<CSint**, Vars>> _arrays; // by id; null when freed
  int _nextFunction = 0;

  // While a restore runs: the functions that must be called, first one last, and the first thing that was wrong.
  std::vector<std::pair<int, State>> _expected;
  std::string _wrong;

  // While a search is simulated.
  int _nodes, _fails, _choicePoints;
  std::vector<State> _path;
  std::vector<Values> _solutions;
};

void Sequence::say(const char* format, ...)
{
  va_list arguments;
  va_start(arguments, format);
  int n = vsnprintf(_story, _room, format, arguments);
  va_end(arguments);
  size_t written = std::min(size_t(n), _room - 1);
  _story += written;
  _room -= written;
}

Set setOf(const CSint* v)
{
  Values values = valuesOf(v);
  return Set(values.begin(), values.end());
}

std::string textOf(const Set& set) { return kit::textOf(Values(set.begin(), set.end())); }

// ---------------------------------------------------------------------------------------------------------------------
// The model
// ---------------------------------------------------------------------------------------------------------------------

const Set& Sequence::domainOf(const State& state, size_t i) const
{
  return i < state.domains.size() ? state.domains[i] : _initial[i];
}

State Sequence::extended(const State& state) const
{
  State whole = state;
  for (size_t i = whole.domains.size(); i < _vars.size(); i++)
    whole.domains.push_back(_initial[i]);
  return whole;
}

const Rule& ruleOf(const SequenceRow& row, bool strong) { return strong || !row.weak ? row.strong : row.weak; }

bool Sequence::isExact() const
{
  return std::all_of(_now.active.begin(), _now.active.end(), [&](size_t i) { return !_postings[i]->row->weak; });
}

bool Sequence::close(State& state, bool strong) const
{
  std::vector<Posting> postings;
  for (size_t i : state.active) {
    const Placed& posting = *_postings[i];
    Sets x;
    for (size_t number : posting.scope)
      x.push_back(&state.domains[number]);
    postings.push_back({&ruleOf(*posting.row, strong), x, &posting.p});
  }
  return std::none_of(state.domains.begin(), state.domains.end(), [](const Set& s) { return s.empty(); }) &&
         closure(postings);
}

/// After a call that was to narrow the domains to `request` at the most and to propagate.
void Sequence::outcome(bool ok, State request)
{
  State most = request;
  bool mayHold = close(most, true);
  if (!ok) {
    if (mayHold)
      fault("failed, but by the model it doesn't");
    _failed = true;
    return;
  }
  State is = request;
  for (size_t i = 0; i < _vars.size(); i++) {
    is.domains[i] = setOf(_vars[i]);
    const Set& s = is.domains[i];
    auto within = [](const Set& a, const Set& b) { return std::includes(b.begin(), b.end(), a.begin(), a.end()); };
    if (!within(s, request.domains[i]))
      fault(_names[i] + " has " + textOf(s) + " but by the model at most " + textOf(request.domains[i]));
    if (mayHold && !within(most.domains[i], s))
      fault(_names[i] + " has only " + textOf(s) + " but by the model at least " + textOf(most.domains[i]));
  }
  State least = is;
  if (!close(least, false))
    fault("succeeded, but by the model it fails");
  for (size_t i = 0; i < _vars.size(); i++)
    if (least.domains[i] != is.domains[i])
      fault(_names[i] + " has " + textOf(is.domains[i]) + " but by the model " + textOf(least.domains[i]));
  _now = is;
}

int Sequence::depth() const
{
  return int(std::count_if(_entries.begin(), _entries.end(), [](const Entry& e) { return e.kind == Entry::context; }));
}

/// The index of the context with that label.
size_t Sequence::entryOf(int label) const
{
  size_t i = 0;
  for (int contexts = 0; contexts < label; i++)
    contexts += _entries[i].kind == Entry::context;
  return i - 1;
}

/// The effect of a restore down to the label.
void Sequence::popTo(int label)
{
  size_t first = entryOf(label);
  _now = extended(_entries[first].before);
  dropTo(label);
  _failed = false;
}

/// The contexts down to the label and all that was registered in them go.
void Sequence::dropTo(int label)
{
  for (size_t i = entryOf(label); i < _entries.size(); i++)
    if (_entries[i].kind == Entry::array)
      _arrays[size_t(_entries[i].id)].first = nullptr;
  _entries.erase(_entries.begin() + ptrdiff_t(entryOf(label)), _entries.end());
}

/// What is accepted must not be mixed with what an outer context still undoes: its trail records would bring back
/// values from before, and the model keeps to what the interface promises. So the variables that changed since the
/// label, and all that constraints tie to them, must have no change in the contexts that remain.
bool Sequence::mayAccept(int label) const
{
  size_t first = entryOf(label);
  if (first == 0)
    return true;
  const State& mark = _entries[first].before;
  const State& outer = _entries[0].before;
  std::vector<size_t> group(_vars.size());
  for (size_t i = 0; i < group.size(); i++)
    group[i] = i;
  for (size_t number : _now.active)
    for (size_t a : _postings[number]->scope) {
      size_t from = group[a], to = group[_postings[number]->scope[0]];
      std::replace(group.begin(), group.end(), from, to);
    }
  auto changed = [&](const State& before, const State& after) {
    Set groups;
    for (size_t i = 0; i < _vars.size(); i++)
      if (domainOf(before, i) != domainOf(after, i))
        groups.insert(int(group[i]));
    for (size_t number : after.active)
      if (std::find(before.active.begin(), before.active.end(), number) == before.active.end())
        groups.insert(int(group[_postings[number]->scope[0]]));
    return groups;
  };
  Set inner = changed(mark, _now), outside = changed(outer, mark);
  return std::none_of(inner.begin(), inner.end(), [&](int g) { return outside.count(g); });
}

/// The model's half of a search below `state`: 1 with a solution in `state`, 0, or -1 at the limit of fails.
int Sequence::simulate(State& state, const std::vector<size_t>& order, Selector select, int limit, bool all)
{
  if (++_nodes > 1500)
    throw TooLong();
  size_t chosen = select(state, order, _vars);
  if (chosen == SIZE_MAX) {
    Values values;
    for (const Set& s : state.domains)
      values.push_back(*s.begin());
    _solutions.push_back(values);
    return !all;
  }
  _path.push_back(state);
  State before = state;
  for (int value : before.domains[chosen]) {
    _choicePoints++;
    state = before;
    state.domains[chosen] = {value};
    if (!close(state, false)) {
      _fails++;
    } else if (int result = simulate(state, order, select, limit, all)) {
      return result;
    }
    if (limit > 0 && _fails >= limit)
      return -1;
  }
  state = before;
  _path.pop_back();
  return 0;
}

template <typename Key>
size_t smallest(const State& state, const std::vector<size_t>& order, Key key)
{
  size_t best = SIZE_MAX;
  for (size_t i : order)
    if (state.domains[i].size() > 1 && (best == SIZE_MAX || key(i) < key(best)))
      best = i;
  return best;
}

size_t firstFree(const State& state, const std::vector<size_t>& order, const Vars&)
{
  return smallest(state, order, [](size_t) { return 0; });
}

size_t fewestValues(const State& state, const std::vector<size_t>& order, const Vars&)
{
  return smallest(state, order, [&](size_t i) { return state.domains[i].size(); });
}

size_t fewestThenMin(const State& state, const std::vector<size_t>& order, const Vars&)
{
  return smallest(
      state, order, [&](size_t i) { return std::make_pair(state.domains[i].size(), *state.domains[i].begin()); });
}

size_t mostConstraints(const State& state, const std::vector<size_t>& order, const Vars& vars)
{
  return smallest(state, order, [&](size_t i) { return -vars[i]->_nbConstraints; });
}

// ---------------------------------------------------------------------------------------------------------------------
// Steps
// ---------------------------------------------------------------------------------------------------------------------

void Sequence::adopt(CSint* v, Set initial)
{
  std::string name = "v";
  _names.push_back(name += std::to_string(_vars.size()));
  _vars.push_back(v);
  _now.domains.push_back(initial);
  _initial.push_back(std::move(initial));
  _everAttached.push_back(v->_nbConstraints);
}

void Sequence::create()
{
  int low = _random.pick(-4, 5), high = low + _random.pick(0, 4), way = _random.pick(0, 3);
  Set range;
  for (int x = low; x <= high; x++)
    range.insert(x);
  if (way == 0) {
    say("v%zu = CSINT(%d)\n", _vars.size(), low);
    adopt(CSINT(low), {low});
  } else if (way == 1) {
    say("v%zu = cs_createCSint(%d, %d)\n", _vars.size(), low, high);
    adopt(cs_createCSint(low, high), range);
  } else if (way == 2) {
    Values values;
    for (int n = _random.pick(1, 8); n > 0; n--)
      values.push_back(_random.pick(low, high));
    say("v%zu = cs_createCSintFromDomain", _vars.size());
    Set set(values.begin(), values.end());
    say("(%s)\n", textOf(set).c_str());
    adopt(cs_createCSintFromDomain(values.data(), int(values.size())), set);
  } else {
    int count = _random.pick(0, 2);
    say("cs_createCSintArray(%d, %d, %d)\n", count, low, high);
    CSint** array = cs_createCSintArray(count, low, high);
    if (depth() > 0)
      _entries.push_back({Entry::array, {}, int(_arrays.size())});
    _arrays.push_back({array, Vars(array, array + count)});
    for (int i = 0; i < count; i++)
      adopt(array[i], range);
  }
}

void Sequence::post(bool lasting)
{
  int sum = 0;
  for (size_t i = 0; i < _nbRows; i++)
    sum += _rows[i].lasting == lasting ? _rows[i].weight : 0;
  if (sum == 0)
    return;
  int ticket = _random.pick(1, sum);
  const SequenceRow* row = &_rows[0];
  for (size_t i = 0; i < _nbRows && ticket > 0; i++)
    if (_rows[i].lasting == lasting) {
      row = &_rows[i];
      ticket -= row->weight;
    }
  int count = _random.pick(row->count.low, row->count.high);
  if (row->distinct && count > int(_vars.size()))
    return;
  auto posting = std::make_unique<Placed>();
  posting->row = row;
  while (int(posting->scope.size()) < count) {
    // Mostly among the oldest variables, so that constraints meet.
    auto number = size_t(_random.pick(0, std::min(_random.chance(60) ? 2 : 99, int(_vars.size()) - 1)));
    auto& scope = posting->scope;
    // The model goes through all tuples of the arguments.
    if (row->value && _now.domains[number].size() > 8)
      return;
    if (std::find(scope.begin(), scope.end(), number) != scope.end() && (row->distinct || _random.chance(80)) &&
        _vars.size() > 1)
      continue;
    scope.push_back(number);
    posting->x.push_back(_vars[number]);
  }
  if (row->parameters)
    posting->p = row->parameters(_random);
  _postings.push_back(std::move(posting));
  Placed& placed = *_postings.back();
  State request = _now;
  if (lasting) {
    request.active.push_back(_postings.size() - 1);
  } else {
    Sets x;
    for (size_t number : placed.scope)
      x.push_back(&request.domains[number]);
    if (!row->strong(x, placed.p))
      request.domains[placed.scope[0]].clear();
  }
  // Most calls are to succeed, since a failure ends a sequence or throws a context away.
  if (!row->value && !row->functional && _random.chance(depth() > 0 ? 75 : 99)) {
    State foretold = request;
    if (!close(foretold, true))
      return _postings.pop_back();
  }

  say("%s(", row->name);
  for (size_t number : placed.scope)
    say(" v%zu", number);
  for (int p : placed.p)
    say(" %d", p);
  say(" )");
  std::vector<int> before;
  for (const CSint* v : _vars)
    before.push_back(v->_nbConstraints);
  Posted posted = row->post(placed.x, placed.p);
  say(" -> %d\n", posted.ok);
  for (size_t i = 0; i < _vars.size(); i++) {
    placed.attachments.push_back(_vars[i]->_nbConstraints - before[i]);
    _everAttached[i] = _vars[i]->_nbConstraints;
  }
  if (posted.ok)
    for (CSint* v : posted.results) {
      if (int64_t(v->_max) - v->_min > 2000)
        return void(_over = true);
      if (auto known = std::find(_vars.begin(), _vars.end(), v); known != _vars.end()) {
        placed.scope.push_back(size_t(known - _vars.begin()));
        continue;
      }
      placed.scope.push_back(_vars.size());
      placed.attachments.push_back(v->_nbConstraints);
      adopt(v, setOf(v));
    }
  outcome(posted.ok, extended(request));
}

void Sequence::save()
{
  int label = cs_saveContext();
  say("cs_saveContext() -> %d\n", label);
  _entries.push_back({Entry::context, _now, 0});
  if (label != depth())
    fault("the label must be " + std::to_string(depth()));
}

void Sequence::undone(void* self, int id)
{
  auto* s = static_cast<Sequence*>(self);
  if (!s->_wrong.empty())
    return;
  if (s->_expected.empty() || s->_expected.back().first != id) {
    s->_wrong = "function " + std::to_string(id) + " ran out of its turn";
    return;
  }
  const State& state = s->_expected.back().second;
  for (size_t i = 0; i < s->_vars.size(); i++)
    if (setOf(s->_vars[i]) != s->domainOf(state, i))
      s->_wrong = "when function " + std::to_string(id) + " ran, " + s->_names[i] + " was " + kit::textOf(s->_vars[i]) +
                  " and not " + textOf(s->domainOf(state, i));
  s->_expected.pop_back();
}

void Sequence::expectUndone(int label)
{
  for (size_t i = entryOf(label); i < _entries.size(); i++)
    if (_entries[i].kind == Entry::function)
      _expected.push_back({_entries[i].id, _entries[i].before});
}

void Sequence::restore()
{
  int way = _random.pick(0, 3), label = pickLabel(1), innermost = depth();
  if (way == 0 && innermost > 0) {
    say("cs_restoreContext()\n");
    expectUndone(innermost);
    cs_restoreContext();
    popTo(innermost);
  } else if (way == 1 && _random.chance(30)) {
    say("cs_restoreAll()\n");
    if (innermost > 0)
      expectUndone(1);
    cs_restoreAll();
    if (innermost > 0)
      popTo(1);
  } else {
    say("cs_restoreContextUntil(%d)\n", label);
    if (label <= innermost)
      expectUndone(label);
    cs_restoreContextUntil(label);
    if (label <= innermost)
      popTo(label);
  }
}

void Sequence::restoreAndSave()
{
  int innermost = depth();
  if (innermost == 0)
    return;
  say("cs_restoreAndSaveContext()\n");
  expectUndone(innermost);
  cs_restoreAndSaveContext();
  popTo(innermost);
  _entries.push_back({Entry::context, _now, 0});
}

void Sequence::forget()
{
  int label = pickLabel(1), innermost = depth();
  if (innermost > 0 && _random.chance(50)) {
    say("cs_forgetSaveContext()\n");
    cs_forgetSaveContext();
    label = innermost;
  } else {
    say("cs_forgetSaveContextUntil(%d)\n", label);
    cs_forgetSaveContextUntil(label);
  }
  if (label > innermost)
    return;
  // Functions and arrays go to the context outside; without one nothing will ever undo them.
  std::vector<Entry> kept;
  int contexts = 0;
  for (Entry& entry : _entries) {
    contexts += entry.kind == Entry::context;
    if (contexts < label || (entry.kind != Entry::context && label > 1))
      kept.push_back(std::move(entry));
  }
  _entries = std::move(kept);
}

void Sequence::accept()
{
  int label = pickLabel(1), innermost = depth();
  if (label <= innermost && !mayAccept(label))
    return forget();
  if (label == innermost && _random.chance(50)) {
    say("cs_acceptContext()\n");
    cs_acceptContext();
  } else if (label == 1) {
    say("cs_acceptAll()\n");
    cs_acceptAll();
  } else {
    say("cs_acceptContextUntil(%d)\n", label);
    cs_acceptContextUntil(label);
  }
  if (label > innermost)
    return;
  const State mark = extended(_entries[entryOf(label)].before);
  dropTo(label);
  // Permanent for all that remain, whatever comes.
  for (size_t i = 0; i < _vars.size(); i++)
    if (_now.domains[i] != mark.domains[i]) {
      _initial[i] = _now.domains[i];
      for (Entry& entry : _entries)
        if (i < entry.before.domains.size())
          entry.before.domains[i] = _now.domains[i];
    }
  for (size_t number : _now.active)
    if (std::find(mark.active.begin(), mark.active.end(), number) == mark.active.end())
      for (Entry& entry : _entries)
        entry.before.active.push_back(number);
}

void Sequence::registerFunction()
{
  int id = _nextFunction++;
  bool wide = _random.chance(50);
  say("%s(%d)\n", wide ? "cs_backtrackExt" : "cs_backtrack", id);
  if (wide)
    cs_backtrackExt(this, id, undoneWide);
  else
    cs_backtrack(this, id, undone);
  if (depth() > 0)
    _entries.push_back({Entry::function, _now, id});
}

int cancelAfter;
CSint* firstFreeAndCancel(CSint** variables, int n)
{
  if (cancelAfter-- == 0)
    cs_cancelSearch();
  return cs_findFreeVar(variables, n);
}

const Vars* allVars;
std::vector<Values> foundSolutions;
void noteSolution(CSint**, int)
{
  Values values;
  for (const CSint* v : *allVars)
    values.push_back(v->_min);
  foundSolutions.push_back(values);
}

void Sequence::search()
{
  static const struct
  {
    const char* name;
    CSfindFreeVar real;
    Selector model;
  } selectors[] = {{"cs_findFreeVar", cs_findFreeVar, firstFree},
      {"cs_findFreeVarNbElements", cs_findFreeVarNbElements, fewestValues},
      {"cs_findFreeVarNbElementsMin", cs_findFreeVarNbElementsMin, fewestThenMin},
      {"cs_findFreeVarNbConstraints", cs_findFreeVarNbConstraints, mostConstraints}};
  const auto& selector = _random.oneOf(selectors);
  bool exact = isExact();
  std::vector<size_t> order;
  Vars x;
  for (size_t i = 0; i < _vars.size(); i++)
    order.push_back(i);
  for (size_t i = order.size(); i > 1; i--)
    std::swap(order[i - 1], order[size_t(_random.pick(0, int(i) - 1))]);
  if (exact)
    order.resize(size_t(_random.pick(1, int(order.size()))));
  for (size_t i : order)
    x.push_back(_vars[i]);
  int n = int(x.size());
  int kind = _random.pick(0, 4);
  // Where the domains during a search aren't foretold, a selector that looks at them may go another way.
  bool sameOrder = exact || selector.model == firstFree;
  if (!sameOrder)
    kind = 2;
  int limit = kind == 1 && exact ? _random.pick(0, 6) : 0;

  State after = _now;
  _nodes = _fails = _choicePoints = 0;
  _path.clear();
  _solutions.clear();
  int result;
  try {
    result = simulate(after, order, selector.model, limit, kind == 2);
  } catch (TooLong) {
    return;
  }
  foundSolutions.clear();
  allVars = &_vars;
  std::string text;
  for (size_t i : order)
    text += " " + _names[i];
  int label = 0;
  if (!exact || kind == 4) {
    save();
    label = depth();
  }
  if (kind == 4) {
    cancelAfter = _random.pick(0, 6);
    say("cs_search(%s ) with a cancel after %d calls of the selector\n", text.c_str(), cancelAfter);
    int is = cs_search(x.data(), n, firstFreeAndCancel);
    if (is && _solutions.empty())
      fault("found a solution");
    expectUndone(label);
    cs_restoreContextUntil(label);
    popTo(label);
    return;
  }
  int is;
  if (kind == 2) {
    say("cs_findAll(%s, %s )", text.c_str(), selector.name);
    is = cs_findAll(x.data(), n, selector.real, noteSolution);
    result = !_solutions.empty();
  } else if (kind == 1) {
    say("cs_searchFail(%s, %s, %d )", text.c_str(), selector.name, limit);
    is = cs_searchFail(x.data(), n, selector.real, limit);
  } else if (kind == 3 && n == 2) {
    say("cs_Vsearch(%s, %s )", text.c_str(), selector.name);
    is = cs_Vsearch(2, x[0], x[1], selector.real);
  } else {
    say("cs_search(%s, %s )", text.c_str(), selector.name);
    is = cs_search(x.data(), n, selector.real);
  }
  say(" -> %d\n", is);
  if (bool(is) != (result == 1))
    fault("the result must be " + std::to_string(result == 1));
  if (is && kind != 2)
    noteSolution(nullptr, 0);
  if (exact && (cs_getNbFails() != _fails || cs_getNbChoicePoints() != _choicePoints))
    fault("there must be " + std::to_string(_fails) + " fails and " + std::to_string(_choicePoints) +
          " choice points, and not " + std::to_string(cs_getNbFails()) + " and " +
          std::to_string(cs_getNbChoicePoints()));
  // In a solution over some of the variables others may be free, so the minimum stands for them on both sides.
  if (!sameOrder) {
    std::sort(foundSolutions.begin(), foundSolutions.end());
    std::sort(_solutions.begin(), _solutions.end());
  }
  if (foundSolutions != _solutions)
    fault("these aren't the solutions: " + std::to_string(foundSolutions.size()) + " in place of " +
          std::to_string(_solutions.size()));
  if (!exact) {
    expectUndone(label);
    cs_restoreContextUntil(label);
    popTo(label);
    return;
  }
  // A context for each decision is left by a solution and by the limit.
  if (kind == 2 || result == 0)
    return;
  for (State& state : _path)
    _entries.push_back({Entry::context, std::move(state), 0});
  if (result == 1)
    _now = after;
  else
    _failed = true;
}

void Sequence::query()
{
  auto i = size_t(_random.pick(0, int(_vars.size()) - 1));
  const CSint* v = _vars[i];
  const Set& s = _now.domains[i];
  int x = _random.pick(-8, 15);
  auto next = s.upper_bound(x), here = s.lower_bound(x);
  int* values = cs_getDomain(v);
  bool right = cs_isIn(v, x) == int(s.count(x)) && cs_getNextValue(v, x) == (next == s.end() ? INT_MAX : *next) &&
               cs_getPreviousValue(v, x) == (here == s.begin() ? INT_MIN : *std::prev(here)) &&
               cs_getMin(v) == *s.begin() && cs_getMax(v) == *s.rbegin() && cs_getNbElements(v) == int(s.size()) &&
               cs_isFree(v) == (s.size() > 1) && cs_isInstantiated(v) == (s.size() == 1) &&
               (s.size() > 1 || cs_getValue(v) == *s.begin()) && std::equal(s.begin(), s.end(), values);
  cs_freeDomain(values);
  if (!right)
    fault("a query of " + _names[i] + " with " + std::to_string(x) + " is wrong");
  for (const auto& [array, vars] : _arrays)
    if (array && !std::equal(vars.begin(), vars.end(), array))
      fault("an array has changed");
}

void Sequence::rename()
{
  auto i = size_t(_random.pick(0, int(_vars.size()) - 1));
  std::string name(size_t(_random.pick(0, 20)), char('a' + _random.pick(0, 25)));
  if (cs_setName(_vars[i], name.c_str()) != cs_getName(_vars[i]) || name != cs_getName(_vars[i]))
    fault("the name isn't " + name);
}

/// A failure can only be followed by a restore, or by forgetting contexts first.
void Sequence::recover()
{
  if (depth() > 1 && _random.chance(25)) {
    say("cs_forgetSaveContextUntil(%d)\n", depth());
    cs_forgetSaveContextUntil(depth());
    auto innermost = std::find_if(
        _entries.rbegin(), _entries.rend(), [](const Entry& entry) { return entry.kind == Entry::context; });
    _entries.erase(std::next(innermost).base());
  }
  if (_random.chance(20))
    restoreAndSave();
  else
    restore();
}

void Sequence::compare()
{
  if (_over)
    return;
  if (!_wrong.empty())
    fault(_wrong);
  if (!_expected.empty())
    fault("function " + std::to_string(_expected.back().first) + " didn't run");
  if (cs_getErr())
    fault("the error code is " + std::to_string(cs_getErr()));
  if (_random.chance(20) && contextDepth() != depth())
    fault("the depth of the context stack must be " + std::to_string(depth()));
  std::vector<int> attached(_vars.size());
  if (!_failed)
    for (size_t number : _now.active)
      for (size_t i = 0; i < _postings[number]->attachments.size(); i++)
        attached[i] += _postings[number]->attachments[i];
  for (size_t i = 0; i < _vars.size(); i++) {
    const CSint* v = _vars[i];
    if (v->_nbConstraints != _everAttached[i])
      fault(_names[i] + ": _nbConstraints must be " + std::to_string(_everAttached[i]));
    if (_failed)
      continue;
    if (setOf(v) != _now.domains[i])
      fault(_names[i] + " is " + kit::textOf(v) + " and must be " + textOf(_now.domains[i]));
    if (v->_nbElements != int(_now.domains[i].size()))
      fault(_names[i] + ": _nbElements is " + std::to_string(v->_nbElements));
    if (v->_propMin != v->_min || v->_propMax != v->_max)
      fault(_names[i] + ": a bound was never told to the handlers");
    if (nbAttached(v) != attached[i])
      fault(
          _names[i] + ": " + std::to_string(nbAttached(v)) + " attachments in place of " + std::to_string(attached[i]));
  }
}

void Sequence::run()
{
  struct Step
  {
    int weight;
    std::function<void()> make;
  };
  const Step steps[] = {{6, [&] { create(); }}, {24, [&] { post(true); }}, {24, [&] { post(false); }},
      {14, [&] { save(); }}, {9, [&] { restore(); }}, {3, [&] { restoreAndSave(); }}, {4, [&] { forget(); }},
      {6, [&] { accept(); }}, {6, [&] { registerFunction(); }}, {5, [&] { search(); }}, {8, [&] { query(); }},
      {2, [&] { rename(); }}};
  int sum = 0;
  for (const Step& step : steps)
    sum += step.weight;
  for (int n = _random.pick(2, 4); n > 0 || _vars.empty(); n--)
    create();
  if (_random.chance(70))
    save();
  compare();
  for (int n = _random.pick(0, 4); n > 0 && !_failed; n--) {
    post(true);
    compare();
  }
  for (int n = _random.pick(10, 90); n > 0 && !_over; n--) {
    if (_failed) {
      if (depth() == 0)
        return;
      recover();
    } else {
      int ticket = _random.pick(1, sum);
      const Step* step = steps;
      while ((ticket -= step->weight) > 0)
        step++;
      if (step != steps || _vars.size() < 9)
        step->make();
    }
    compare();
  }
}

/// In this process. The steps are written to `story` as they are made.
std::string runSequence(const std::vector<SequenceRow>& rows, SequenceCase which, char* story, size_t size)
{
  std::string text;
  size_t before = heap::live();
  cs_init();
  cs_setProfilerLocator("test", cheapLocator, nullptr);
  {
    Sequence sequence(rows, which, story, size);
    try {
      sequence.run();
    } catch (const Fault& fault) {
      text = fault.text;
    }
    cs_end();
  }
  if (text.empty() && heap::live() != before)
    text = std::to_string(heap::live() - before) + " blocks are left after cs_end";
  return text;
}

} // namespace

std::string runSequences(
    const std::vector<SequenceRow>& table, uint64_t first, uint64_t count, double seconds, uint64_t* done)
{
  // Rows that give only their solutions get the rules that follow from these.
  std::vector<SequenceRow> rows = table;
  for (SequenceRow& row : rows)
    if (row.holds || row.value) {
      row.strong = row.value ? naive::strongest(row.value) : naive::strongest(row.holds);
      row.weak = row.value ? naive::weakest(row.value) : naive::weakest(row.holds);
    }

  // What the child tells survives its crash.
  struct Shared
  {
    uint64_t seed;
    uint64_t done;
    char story[1 << 16];
    char fault[1 << 12];
  };
  void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    return "no shared memory";
  auto* shared = static_cast<Shared*>(memory);
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    const rlimit noCore = {};
    setrlimit(RLIMIT_CORE, &noCore);
    auto start = std::chrono::steady_clock::now();
    for (uint64_t i = 0; i < count; i++) {
      shared->seed = first + i;
      shared->story[0] = '\0';
      alarm(60);
      std::string fault = runSequence(rows, {first + i, rows.size()}, shared->story, sizeof shared->story);
      if (!fault.empty()) {
        snprintf(shared->fault, sizeof shared->fault, "%s", fault.c_str());
        _exit(1);
      }
      shared->done++;
      if (std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() > seconds)
        break;
    }
    _exit(0);
  }
  int status = 0;
  std::string text;
  if (child < 0 || waitpid(child, &status, 0) != child)
    text = "no child process";
  else if (WIFSIGNALED(status))
    text = WTERMSIG(status) == SIGALRM ? "ran for a minute" : std::string("died: ") + strsignal(WTERMSIG(status));
  else if (WEXITSTATUS(status) != 0)
    text = *shared->fault ? shared->fault : "ended with an error";
  if (!text.empty())
    text = "sequence {.seed = " + std::to_string(shared->seed) + ", .rows = " + std::to_string(rows.size()) +
           "}: " + text + "\n" + shared->story + "again: KU_SEED=" + std::to_string(shared->seed) +
           " KU_SEQUENCES=1 sequence_test";
  if (done)
    *done = shared->done;
  munmap(memory, sizeof(Shared));
  return text;
}

} // namespace kit
