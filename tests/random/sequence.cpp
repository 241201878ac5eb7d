#include "sequence.h"

#include "heapWatch.h"

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

/// A constraint that was posted.
struct Placed
{
  const SequenceRow* row;
  Vars x;
  Values p;
  std::vector<size_t> scope;    ///< numbers of the arguments and the results
  std::vector<int> attachments; ///< made by it, for each variable
};

/// What a restore brings back. The domains are those of all variables; one that is younger has that of its creation.
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

/// Of the free variables the first with the smallest key is chosen.
struct Selector
{
  const char* name;
  CSfindFreeVar real;
  int (*key)(const Set&, const CSint*);
};

const Selector selectors[] = {{"cs_findFreeVar", cs_findFreeVar, [](const Set&, const CSint*) { return 0; }},
    {"cs_findFreeVarNbElements", cs_findFreeVarNbElements, [](const Set& s, const CSint*) { return int(s.size()); }},
    {"cs_findFreeVarNbElementsMin", cs_findFreeVarNbElementsMin,
        [](const Set& s, const CSint*) { return int(s.size()) * 100000 + *s.begin(); }},
    {"cs_findFreeVarNbConstraints", cs_findFreeVarNbConstraints,
        [](const Set&, const CSint* v) { return -v->_nbConstraints; }}};

int cancelAfter;
CSint* firstFreeAndCancel(CSint** variables, int n)
{
  if (cancelAfter-- == 0)
    cs_cancelSearch();
  return cs_findFreeVar(variables, n);
}

const Vars* allVars;
std::vector<Values> foundSolutions;

/// In a solution over some of the variables others may be free, so the minimum stands for them on both sides.
void noteSolution(CSint**, int)
{
  foundSolutions.emplace_back();
  for (const CSint* v : *allVars)
    foundSolutions.back().push_back(v->_min);
}

Set setOf(const CSint* v)
{
  Values values = valuesOf(v);
  return Set(values.begin(), values.end());
}

std::string textOf(const Set& set) { return kit::textOf(Values(set.begin(), set.end())); }

std::string piece(const std::string& text) { return text; }
std::string piece(int number) { return std::to_string(number); }
std::string piece(const Set& set) { return textOf(set); }
std::string piece(const CSint* v) { return kit::textOf(v); }

bool within(const Set& a, const Set& b) { return std::includes(b.begin(), b.end(), a.begin(), a.end()); }

bool isListed(size_t number, const std::vector<size_t>& numbers)
{
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

class Sequence
{
public:
  Sequence(const std::vector<SequenceRow>& rows, uint64_t seed, char* story, size_t size)
    : _rows(rows), _random(seed), _story(story), _room(size)
  {}

  void run()
  {
    using S = Sequence&;
    static constexpr struct
    {
      int weight;
      void (*make)(S);
    } steps[] = {{6, [](S s) { s.create(); }}, {24, [](S s) { s.post(true); }}, {24, [](S s) { s.post(false); }},
        {14, [](S s) { s.save(); }}, {9, [](S s) { s.restore(); }}, {3, [](S s) { s.restoreAndSave(); }},
        {4, [](S s) { s.forget(); }}, {6, [](S s) { s.accept(); }}, {6, [](S s) { s.registerFunction(); }},
        {5, [](S s) { s.search(); }}, {8, [](S s) { s.query(); }}, {2, [](S s) { s.rename(); }}};
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
        int ticket = _random.pick(1, 111); // the sum of the weights
        const auto* step = steps;
        while ((ticket -= step->weight) > 0)
          step++;
        if (step != steps || _vars.size() < 9)
          step->make(*this);
      }
      compare();
    }
  }

private:
  void say(const char* format, ...) __attribute__((format(printf, 2, 3)))
  {
    va_list arguments;
    va_start(arguments, format);
    size_t written = std::min(size_t(vsnprintf(_story, _room, format, arguments)), _room - 1);
    va_end(arguments);
    _story += written;
    _room -= written;
  }

  /// The parts make the text of the fault.
  template <typename... Parts>
  static void expect(bool condition, const Parts&... parts)
  {
    if (!condition)
      throw Fault{(piece(parts) + ...)};
  }

  // -------------------------------------------------------------------------------------------------------------------
  // The model
  // -------------------------------------------------------------------------------------------------------------------

  bool isExact() const
  {
    return std::none_of(_now.active.begin(), _now.active.end(), [&](size_t i) { return _postings[i]->row->weak; });
  }

  bool close(State& state, bool strong) const
  {
    std::vector<Posting> postings;
    for (size_t i : state.active) {
      const Placed& posting = *_postings[i];
      Sets x;
      for (size_t number : posting.scope)
        x.push_back(&state.domains[number]);
      const SequenceRow& row = *posting.row;
      postings.push_back({strong || !row.weak ? &row.strong : &row.weak, x, &posting.p});
    }
    return std::none_of(state.domains.begin(), state.domains.end(), [](const Set& s) { return s.empty(); }) &&
           closure(postings);
  }

  /// After a call that was to narrow the domains to `request` at the most and to propagate.
  void outcome(bool ok, const State& request)
  {
    State most = request;
    bool mayHold = close(most, true);
    if (!ok) {
      expect(!mayHold, "failed, but by the model it doesn't");
      _failed = true;
      return;
    }
    _now = request;
    for (size_t i = 0; i < _vars.size(); i++) {
      const Set& s = _now.domains[i] = setOf(_vars[i]);
      expect(within(s, request.domains[i]), _names[i], " has ", s, " but by the model at most ", request.domains[i]);
      expect(!mayHold || within(most.domains[i], s), _names[i], " has only ", s, " but by the model at least ",
          most.domains[i]);
    }
    State least = _now;
    expect(close(least, false), "succeeded, but by the model it fails");
    for (size_t i = 0; i < _vars.size(); i++)
      expect(least.domains[i] == _now.domains[i], _names[i], " has ", _now.domains[i], " but by the model ",
          least.domains[i]);
  }

  int depth() const
  {
    return int(std::count_if(_entries.begin(), _entries.end(), [](auto& e) { return e.kind == Entry::context; }));
  }

  int pickLabel() { return _random.pick(1, depth() + 1); }

  /// The index of the context with that label.
  size_t entryOf(int label) const
  {
    size_t i = 0;
    for (int contexts = 0; contexts < label; i++)
      contexts += _entries[i].kind == Entry::context;
    return i - 1;
  }

  void push(Entry::Kind kind, int id = 0) { _entries.push_back({kind, _now, id}); }

  /// The contexts down to the label and all that was registered in them go.
  void dropTo(int label)
  {
    for (size_t i = entryOf(label); i < _entries.size(); i++)
      if (_entries[i].kind == Entry::array)
        _arrays[size_t(_entries[i].id)].first = nullptr;
    _entries.resize(entryOf(label));
  }

  /// Restores by the call, down to the label.
  template <typename Call>
  void undo(int label, Call call)
  {
    if (label > depth())
      return call();
    State before = _entries[entryOf(label)].before;
    for (size_t i = entryOf(label); i < _entries.size(); i++)
      if (_entries[i].kind == Entry::function)
        _expected.push_back({_entries[i].id, _entries[i].before});
    call();
    _now = std::move(before);
    dropTo(label);
    _failed = false;
  }

  /// What a function sees that a restore runs.
  static void undone(void* self, int id)
  {
    auto* s = static_cast<Sequence*>(self);
    if (!s->_wrong.empty())
      return;
    std::string name = "function " + std::to_string(id);
    if (s->_expected.empty() || s->_expected.back().first != id) {
      s->_wrong = name + " ran out of its turn";
      return;
    }
    const State& state = s->_expected.back().second;
    for (size_t i = 0; i < s->_vars.size(); i++)
      if (setOf(s->_vars[i]) != state.domains[i])
        s->_wrong = "when " + name + " ran, " + s->_names[i] + " was " + kit::textOf(s->_vars[i]) + " and not " +
                    textOf(state.domains[i]);
    s->_expected.pop_back();
  }

  /// What is accepted must not be mixed with what an outer context still undoes: its trail records would bring back
  /// values from before, and the model keeps to what the interface promises. So the variables that changed since the
  /// label, and all that constraints tie to them, must have no change in the contexts that remain.
  bool mayAccept(int label) const
  {
    const State &mark = _entries[entryOf(label)].before, &outer = _entries[0].before;
    std::vector<size_t> group(_vars.size());
    for (size_t i = 0; i < group.size(); i++)
      group[i] = i;
    for (size_t number : _now.active)
      for (size_t a : _postings[number]->scope) {
        size_t from = group[a], to = group[_postings[number]->scope[0]];
        std::replace(group.begin(), group.end(), from, to);
      }
    auto changed = [&](const State& before, const State& after) {
      std::set<size_t> groups;
      for (size_t i = 0; i < _vars.size(); i++)
        if (before.domains[i] != after.domains[i])
          groups.insert(group[i]);
      for (size_t number : after.active)
        if (!isListed(number, before.active))
          groups.insert(group[_postings[number]->scope[0]]);
      return groups;
    };
    auto inner = changed(mark, _now), outside = changed(outer, mark);
    return std::none_of(inner.begin(), inner.end(), [&](size_t g) { return outside.count(g); });
  }

  // -------------------------------------------------------------------------------------------------------------------
  // Steps
  // -------------------------------------------------------------------------------------------------------------------

  void adopt(CSint* v, const Set& initial)
  {
    _names.push_back("v" + std::to_string(_vars.size()));
    _vars.push_back(v);
    _everAttached.push_back(v->_nbConstraints);
    _now.domains.push_back(initial);
    for (Entry& entry : _entries)
      entry.before.domains.push_back(initial);
  }

  void create()
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
      Set set(values.begin(), values.end());
      say("v%zu = cs_createCSintFromDomain(%s)\n", _vars.size(), textOf(set).c_str());
      adopt(cs_createCSintFromDomain(values.data(), int(values.size())), set);
    } else {
      int count = _random.pick(0, 2);
      say("cs_createCSintArray(%d, %d, %d)\n", count, low, high);
      CSint** array = cs_createCSintArray(count, low, high);
      if (depth() > 0)
        push(Entry::array, int(_arrays.size()));
      _arrays.push_back({array, Vars(array, array + count)});
      for (int i = 0; i < count; i++)
        adopt(array[i], range);
    }
  }

  void post(bool lasting)
  {
    int sum = 0;
    for (const SequenceRow& each : _rows)
      sum += each.lasting == lasting ? each.weight : 0;
    if (sum == 0)
      return;
    int ticket = _random.pick(1, sum);
    const SequenceRow* row = _rows.data();
    while (row->lasting != lasting || (ticket -= row->weight) > 0)
      row++;
    int count = _random.pick(row->count.low, row->count.high);
    if (row->distinct && count > int(_vars.size()))
      return;
    auto made = std::make_unique<Placed>();
    Placed& placed = *made;
    placed.row = row;
    auto& scope = placed.scope;
    while (int(scope.size()) < count) {
      // Mostly among the oldest variables, so that constraints meet.
      auto number = size_t(_random.pick(0, std::min(_random.chance(60) ? 2 : 99, int(_vars.size()) - 1)));
      // The model goes through all tuples of the arguments.
      if (row->value && _now.domains[number].size() > 8)
        return;
      if (isListed(number, scope) && (row->distinct || _random.chance(80)) && _vars.size() > 1)
        continue;
      scope.push_back(number);
      placed.x.push_back(_vars[number]);
    }
    if (row->parameters)
      placed.p = row->parameters(_random);
    _postings.push_back(std::move(made));
    State request = _now;
    if (lasting) {
      request.active.push_back(_postings.size() - 1);
    } else {
      Sets x;
      for (size_t number : scope)
        x.push_back(&request.domains[number]);
      if (!row->strong(x, placed.p))
        request.domains[scope[0]].clear();
    }
    // Most calls are to succeed, since a failure ends a sequence or throws a context away.
    if (!row->value && !row->functional && _random.chance(depth() > 0 ? 75 : 99))
      if (State foretold = request; !close(foretold, true))
        return _postings.pop_back();

    say("%s(", row->name);
    for (size_t number : scope)
      say(" v%zu", number);
    for (int p : placed.p)
      say(" %d", p);
    say(" )");
    Posted posted = row->post(placed.x, placed.p);
    say(" -> %d\n", posted.ok);
    for (size_t i = 0; i < _vars.size(); i++) {
      placed.attachments.push_back(_vars[i]->_nbConstraints - _everAttached[i]);
      _everAttached[i] = _vars[i]->_nbConstraints;
    }
    for (CSint* v : posted.ok ? posted.results : Vars()) {
      if (int64_t(v->_max) - v->_min > 2000)
        return void(_over = true);
      scope.push_back(size_t(std::find(_vars.begin(), _vars.end(), v) - _vars.begin()));
      if (scope.back() < _vars.size())
        continue;
      placed.attachments.push_back(v->_nbConstraints);
      adopt(v, setOf(v));
      request.domains.push_back(_now.domains.back());
    }
    outcome(posted.ok, request);
  }

  void save()
  {
    int label = cs_saveContext();
    say("cs_saveContext() -> %d\n", label);
    push(Entry::context);
    expect(label == depth(), "the label must be ", depth());
  }

  void restore()
  {
    int way = _random.pick(0, 3), label = pickLabel(), innermost = depth();
    if (way == 0 && innermost > 0) {
      say("cs_restoreContext()\n");
      undo(innermost, cs_restoreContext);
    } else if (way == 1 && _random.chance(30)) {
      say("cs_restoreAll()\n");
      undo(1, cs_restoreAll);
    } else {
      say("cs_restoreContextUntil(%d)\n", label);
      undo(label, [=] { cs_restoreContextUntil(label); });
    }
  }

  void restoreAndSave()
  {
    if (depth() == 0)
      return;
    say("cs_restoreAndSaveContext()\n");
    undo(depth(), cs_restoreAndSaveContext);
    push(Entry::context);
  }

  void forget()
  {
    int label = pickLabel(), innermost = depth();
    if (innermost > 0 && _random.chance(50)) {
      say("cs_forgetSaveContext()\n");
      cs_forgetSaveContext();
      label = innermost;
    } else {
      say("cs_forgetSaveContextUntil(%d)\n", label);
      cs_forgetSaveContextUntil(label);
    }
    // Functions and arrays go to the context outside; without one nothing will ever undo them.
    int contexts = 0;
    std::erase_if(_entries, [&](const Entry& entry) {
      contexts += entry.kind == Entry::context;
      return contexts >= label && (entry.kind == Entry::context || label == 1);
    });
  }

  void accept()
  {
    int label = pickLabel(), innermost = depth();
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
    const State mark = _entries[entryOf(label)].before;
    dropTo(label);
    // Permanent for all that remain, whatever comes.
    for (Entry& entry : _entries) {
      for (size_t i = 0; i < _vars.size(); i++)
        if (_now.domains[i] != mark.domains[i])
          entry.before.domains[i] = _now.domains[i];
      for (size_t number : _now.active)
        if (!isListed(number, mark.active))
          entry.before.active.push_back(number);
    }
  }

  void registerFunction()
  {
    int id = _nextFunction++;
    bool wide = _random.chance(50);
    say("%s(%d)\n", wide ? "cs_backtrackExt" : "cs_backtrack", id);
    if (wide)
      cs_backtrackExt(this, id, [](void* self, int64_t which) { undone(self, int(which)); });
    else
      cs_backtrack(this, id, undone);
    if (depth() > 0)
      push(Entry::function, id);
  }

  /// The model's half of a search.
  struct Simulation
  {
    const Sequence& sequence;
    const std::vector<size_t>& order;
    const Selector& selector;
    int limit;
    bool all;
    int nodes = 0, fails = 0, choicePoints = 0;
    std::vector<State> path = {};
    std::vector<Values> solutions = {};

    enum Result { limited = -1, exhausted, solved, tooLong };

    /// With a solution in `state`, if it ends with one.
    Result below(State& state)
    {
      if (++nodes > 1500)
        return tooLong;
      size_t chosen = SIZE_MAX;
      auto key = [&](size_t i) { return selector.key(state.domains[i], sequence._vars[i]); };
      for (size_t i : order)
        if (state.domains[i].size() > 1 && (chosen == SIZE_MAX || key(i) < key(chosen)))
          chosen = i;
      if (chosen == SIZE_MAX) {
        solutions.emplace_back();
        for (const Set& s : state.domains)
          solutions.back().push_back(*s.begin());
        return all ? exhausted : solved;
      }
      path.push_back(state);
      const State before = state;
      for (int value : before.domains[chosen]) {
        choicePoints++;
        state = before;
        state.domains[chosen] = {value};
        if (!sequence.close(state, false))
          fails++;
        else if (Result result = below(state); result != exhausted)
          return result;
        if (limit > 0 && fails >= limit)
          return limited;
      }
      state = before;
      path.pop_back();
      return exhausted;
    }
  };

  void search()
  {
    const Selector& selector = _random.oneOf(selectors);
    bool exact = isExact();
    std::vector<size_t> order;
    for (size_t i = 0; i < _vars.size(); i++)
      order.push_back(i);
    for (size_t i = order.size(); i > 1; i--)
      std::swap(order[i - 1], order[size_t(_random.pick(0, int(i) - 1))]);
    if (exact)
      order.resize(size_t(_random.pick(1, int(order.size()))));
    Vars x;
    std::string text;
    for (size_t i : order) {
      x.push_back(_vars[i]);
      text += " " + _names[i];
    }
    int n = int(x.size());
    int kind = _random.pick(0, 4);
    // Where the domains during a search aren't foretold, a selector that looks at them may go another way.
    bool sameOrder = exact || &selector == selectors;
    if (!sameOrder)
      kind = 2;
    int limit = kind == 1 && exact ? _random.pick(0, 6) : 0;

    State after = _now;
    Simulation model = {*this, order, selector, limit, kind == 2};
    const auto result = model.below(after);
    if (result == Simulation::tooLong)
      return;
    bool found = kind == 2 ? !model.solutions.empty() : result == Simulation::solved;
    foundSolutions.clear();
    allVars = &_vars;
    if (!exact || kind == 4)
      save();
    int label = depth(), is;
    auto back = [&] { undo(label, [=] { cs_restoreContextUntil(label); }); };
    if (kind == 4) {
      cancelAfter = _random.pick(0, 6);
      say("cs_search(%s ) with a cancel after %d calls of the selector\n", text.c_str(), cancelAfter);
      expect(!cs_search(x.data(), n, firstFreeAndCancel) || !model.solutions.empty(), "found a solution");
      return back();
    }
    if (kind == 2) {
      say("cs_findAll(%s, %s )", text.c_str(), selector.name);
      is = cs_findAll(x.data(), n, selector.real, noteSolution);
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
    expect(bool(is) == found, "the result must be ", found);
    if (is && kind != 2)
      noteSolution(nullptr, 0);
    expect(!exact || (cs_getNbFails() == model.fails && cs_getNbChoicePoints() == model.choicePoints), counters(),
        " in place of ", model.choicePoints, " and ", model.fails);
    if (!sameOrder) {
      std::sort(foundSolutions.begin(), foundSolutions.end());
      std::sort(model.solutions.begin(), model.solutions.end());
    }
    expect(foundSolutions == model.solutions, "these aren't the solutions: ", int(foundSolutions.size()),
        " in place of ", int(model.solutions.size()));
    if (!exact)
      return back();
    // A context for each decision is left by a solution and by the limit.
    if (kind == 2 || result == Simulation::exhausted)
      return;
    for (State& state : model.path)
      _entries.push_back({Entry::context, std::move(state), 0});
    if (found)
      _now = after;
    else
      _failed = true;
  }

  void query()
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
    expect(right, "a query of ", _names[i], " with ", x, " is wrong");
    for (const auto& [array, vars] : _arrays)
      expect(!array || std::equal(vars.begin(), vars.end(), array), "an array has changed");
  }

  void rename()
  {
    auto i = size_t(_random.pick(0, int(_vars.size()) - 1));
    std::string name(size_t(_random.pick(0, 20)), char('a' + _random.pick(0, 25)));
    expect(cs_setName(_vars[i], name.c_str()) == cs_getName(_vars[i]) && name == cs_getName(_vars[i]),
        "the name isn't ", name);
  }

  /// A failure can only be followed by a restore, or by forgetting contexts first.
  void recover()
  {
    if (depth() > 1 && _random.chance(25)) {
      say("cs_forgetSaveContextUntil(%d)\n", depth());
      cs_forgetSaveContextUntil(depth());
      _entries.erase(_entries.begin() + ptrdiff_t(entryOf(depth())));
    }
    if (_random.chance(20))
      restoreAndSave();
    else
      restore();
  }

  void compare()
  {
    if (_over)
      return;
    expect(_wrong.empty(), _wrong);
    expect(_expected.empty(), "a function didn't run");
    expect(!cs_getErr(), "the error code is ", cs_getErr());
    expect(!_random.chance(20) || contextDepth() == depth(), "the depth of the context stack must be ", depth());
    std::vector<int> attached(_vars.size());
    if (!_failed)
      for (size_t number : _now.active)
        for (size_t i = 0; i < _postings[number]->attachments.size(); i++)
          attached[i] += _postings[number]->attachments[i];
    for (size_t i = 0; i < _vars.size(); i++) {
      const CSint* v = _vars[i];
      expect(v->_nbConstraints == _everAttached[i], _names[i], ": _nbConstraints must be ", _everAttached[i]);
      if (_failed)
        continue;
      expect(setOf(v) == _now.domains[i], _names[i], " is ", v, " and must be ", _now.domains[i]);
      expect(v->_nbElements == int(_now.domains[i].size()), _names[i], ": _nbElements is ", v->_nbElements);
      expect(v->_propMin == v->_min && v->_propMax == v->_max, _names[i], ": a bound was never told to the handlers");
      expect(nbAttached(v) == attached[i], _names[i], ": ", nbAttached(v), " attachments in place of ", attached[i]);
    }
  }

  const std::vector<SequenceRow>& _rows;
  Random _random;
  char* _story;
  size_t _room;

  Vars _vars;
  std::vector<std::string> _names;
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
};

} // namespace

ChildRun runInChild(const RunOne& one, uint64_t first, uint64_t count, double seconds)
{
  // What the child tells survives its crash.
  struct Shared
  {
    uint64_t seed, done;
    char story[1 << 16], fault[1 << 12];
  };
  void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    return {.fault = "no shared memory"};
  auto* shared = static_cast<Shared*>(memory);
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    const rlimit noCore = {};
    setrlimit(RLIMIT_CORE, &noCore);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (shared->done < count) {
      shared->seed = first + shared->done;
      shared->story[0] = '\0';
      alarm(60);
      const size_t before = heap::live();
      std::string fault = one(shared->seed, shared->story, sizeof shared->story);
      if (fault.empty() && heap::live() != before)
        fault = std::to_string(heap::live() - before) + " blocks are left after cs_end";
      if (!fault.empty()) {
        snprintf(shared->fault, sizeof shared->fault, "%s", fault.c_str());
        _exit(1);
      }
      shared->done++;
      if (std::chrono::steady_clock::now() > end)
        break;
    }
    _exit(0);
  }
  int status = 0;
  std::string fault;
  if (child < 0 || waitpid(child, &status, 0) != child)
    fault = "no child process";
  else if (WIFSIGNALED(status))
    fault = WTERMSIG(status) == SIGALRM ? "ran for a minute" : std::string("died: ") + strsignal(WTERMSIG(status));
  else if (WEXITSTATUS(status) != 0)
    fault = *shared->fault ? shared->fault : "ended with an error";
  ChildRun run = {shared->seed, shared->done, fault, shared->story};
  munmap(memory, sizeof(Shared));
  return run;
}

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
  auto one = [&](uint64_t seed, char* story, size_t size) {
    std::string fault;
    cs_init();
    cs_setProfilerLocator("test", cheapLocator, nullptr);
    Sequence sequence(rows, seed, story, size);
    try {
      sequence.run();
    } catch (const Fault& caught) {
      fault = caught.text;
    }
    cs_end();
    return fault;
  };
  ChildRun run = runInChild(one, first, count, seconds);
  if (done)
    *done = run.done;
  const std::string seed = std::to_string(run.seed);
  return run.fault.empty()
             ? ""
             : "sequence {.seed = " + seed + ", .rows = " + std::to_string(rows.size()) + "}: " + run.fault + "\n" +
                   run.story + "again: KU_SEED=" + seed + " KU_SEQUENCES=1 sequence_test";
}

} // namespace kit
