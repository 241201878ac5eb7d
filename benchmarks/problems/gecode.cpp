/*
 * gecode-bench: the problems of ku-bench for Gecode 6.2, in the same models.
 *
 * For the same search trees the twin brings two things that the library hasn't. A brancher that tries all values of a
 * variable in ascending order, as the drivers of libku do; and beside the value propagation of all-different the span
 * test of cs_AllNeq, which prunes. Linear sums are bounds propagation on both sides. Elsewhere it takes what the
 * library offers and does well: views in place of variables for constant offsets, Boolean variables, branch and bound.
 */
#include "bench.h"
#include "instances.h"

#include <gecode/int.hh>
#include <gecode/search.hh>

#include <memory>

using namespace Gecode;
using bench::Ints;
using bench::Outcome;
using bench::Problem;

using Int::BoolView;
using Int::IntView;
using Int::OffsetView;

// =====================================================================================================================
// The span test of all-different
// =====================================================================================================================

/// The values between the smallest minimum and the largest maximum are at least as many as the variables. It depends on
/// two witnesses alone, whose span was wide enough when last tested, and takes others when these come too close.
template <class View>
class Span : public Propagator
{
public:
  static ExecStatus post(Home home, ViewArray<View>& x)
  {
    if (x.size() > 1)
      (void)new (home) Span(home, x);
    return ES_OK;
  }

  Span(Home home, ViewArray<View>& x) : Propagator(home), _x(x), _low(0), _high(0)
  {
    for (int i = 1; i < _x.size(); i++)
      takeBetter(i);
    watch(home, true);
  }

  Span(Space& home, Span& other) : Propagator(home, other), _low(other._low), _high(other._high)
  {
    _x.update(home, other._x);
  }

  Actor* copy(Space& home) override { return new (home) Span(home, *this); }

  PropCost cost(const Space&, const ModEventDelta&) const override { return PropCost::unary(PropCost::LO); }

  void reschedule(Space& home) override
  {
    _x[_low].reschedule(home, *this, Int::PC_INT_BND);
    _x[_high].reschedule(home, *this, Int::PC_INT_BND);
  }

  ExecStatus propagate(Space& home, const ModEventDelta&) override
  {
    if (isWideEnough())
      return ES_FIX;
    unwatch(home);
    for (int i = 0; i < _x.size() && !isWideEnough(); i++)
      takeBetter(i);
    if (!isWideEnough())
      return ES_FAILED;
    watch(home, false);
    return ES_FIX;
  }

  size_t dispose(Space& home) override
  {
    unwatch(home);
    (void)Propagator::dispose(home);
    return sizeof(*this);
  }

private:
  ViewArray<View> _x;
  int _low, _high; // positions of the witnesses

  bool isWideEnough() const { return _x[_high].max() - _x[_low].min() + 1 >= _x.size(); }

  void takeBetter(int i)
  {
    if (_x[i].min() < _x[_low].min())
      _low = i;
    if (_x[i].max() > _x[_high].max())
      _high = i;
  }

  void watch(Home home, bool schedule)
  {
    _x[_low].subscribe(home, *this, Int::PC_INT_BND, schedule);
    _x[_high].subscribe(home, *this, Int::PC_INT_BND, schedule);
  }

  void unwatch(Space& home)
  {
    _x[_low].cancel(home, *this, Int::PC_INT_BND);
    _x[_high].cancel(home, *this, Int::PC_INT_BND);
  }
};

static void allDifferent(Home home, const IntVarArgs& x)
{
  distinct(home, x, IPL_VAL);
  ViewArray<IntView> views(home, x);
  GECODE_ES_FAIL(Span<IntView>::post(home, views));
}

/// Of x[i] + offsets[i].
static void allDifferent(Home home, const IntArgs& offsets, const IntVarArgs& x)
{
  distinct(home, offsets, x, IPL_VAL);
  ViewArray<OffsetView> views(home, x.size());
  for (int i = 0; i < x.size(); i++)
    views[i] = OffsetView(x[i], offsets[i]);
  GECODE_ES_FAIL(Span<OffsetView>::post(home, views));
}

// =====================================================================================================================
// Branching on all values, ascending
// =====================================================================================================================

/// A variable and the values to try.
class Values : public Choice
{
public:
  template <class View>
  Values(const Brancher& brancher, int position, const View& view)
    : Choice(brancher, view.size()), _position(position), _values(heap.alloc<int>(view.size()))
  {
    int n = 0;
    for (Int::ViewValues<View> value(view); value(); ++value)
      _values[n++] = value.val();
  }

  Values(const Brancher& brancher, Archive& archive) : Choice(brancher, archive.get()), _position(0)
  {
    archive >> _position;
    _values = heap.alloc<int>(alternatives());
    for (unsigned i = 0; i < alternatives(); i++)
      archive >> _values[i];
  }

  ~Values() override { heap.free(_values, alternatives()); }

  void archive(Archive& archive) const override
  {
    archive << alternatives() << _position;
    for (unsigned i = 0; i < alternatives(); i++)
      archive << _values[i];
  }

  /// Tries that value first, if it is there.
  void bringForward(int value)
  {
    int* place = std::find(_values, _values + alternatives(), value);
    if (place != _values + alternatives())
      std::rotate(_values, place, place + 1);
  }

  int position() const { return _position; }
  int value(unsigned i) const { return _values[i]; }

private:
  int _position;
  int* _values;
};

enum class Choose { first, fewest, earliest };

template <class View, Choose choose>
class Ascending : public Brancher
{
public:
  static void post(Home home, ViewArray<View> x) { (void)new (home) Ascending(home, x); }

  Ascending(Home home, ViewArray<View>& x) : Brancher(home), _x(x) {}

  Ascending(Space& home, Ascending& other) : Brancher(home, other), _start(other._start) { _x.update(home, other._x); }

  Actor* copy(Space& home) override { return new (home) Ascending(home, *this); }

  bool status(const Space&) const override
  {
    while (_start < _x.size() && _x[_start].assigned())
      _start++;
    return _start < _x.size();
  }

  const Choice* choice(Space&) override
  {
    int chosen = _start;
    if constexpr (choose != Choose::first)
      for (int i = _start + 1; i < _x.size(); i++)
        if (!_x[i].assigned() &&
            (choose == Choose::fewest ? _x[i].size() < _x[chosen].size() : _x[i].min() < _x[chosen].min()))
          chosen = i;
    return new Values(*this, chosen, _x[chosen]);
  }

  const Choice* choice(const Space&, Archive& archive) override { return new Values(*this, archive); }

  ExecStatus commit(Space& home, const Choice& choice, unsigned alternative) override
  {
    const auto& values = static_cast<const Values&>(choice);
    return me_failed(_x[values.position()].eq(home, values.value(alternative))) ? ES_FAILED : ES_OK;
  }

  size_t dispose(Space& home) override
  {
    (void)Brancher::dispose(home);
    return sizeof(*this);
  }

private:
  ViewArray<View> _x;
  mutable int _start = 0; // all variables before it are assigned
};

template <Choose choose = Choose::first>
static void branchOn(Home home, const IntVarArgs& x)
{
  Ascending<IntView, choose>::post(home, ViewArray<IntView>(home, x));
}

static void branchOn(Home home, const BoolVarArgs& x)
{
  Ascending<BoolView, Choose::first>::post(home, ViewArray<BoolView>(home, x));
}

// =====================================================================================================================
// Models and searches
// =====================================================================================================================

/// What the models are built in: the variables that are looked at in solutions.
class Model : public Space
{
public:
  IntVarArray x;
  BoolVarArray b;

  Model() = default;
  Model(int count, int min, int max) : x(*this, count, min, max) {}
  Model(Model& other) : Space(other)
  {
    x.update(*this, other.x);
    b.update(*this, other.b);
  }
  Space* copy() override { return new Model(*this); }
};

class CostModel : public Model
{
public:
  IntVar cost;

  using Model::Model;
  CostModel(CostModel& other) : Model(other) { cost.update(*this, other.cost); }
  Space* copy() override { return new CostModel(*this); }

  void constrain(const Space& best) override
  {
    rel(*this, cost, IRT_LE, static_cast<const CostModel&>(best).cost.val());
  }
};

static Search::Options options()
{
  Search::Options o;
  o.c_d = bench::settings.copyDistance;
  o.clone = false;
  return o;
}

/// The engine counts nodes, of which the root was not chosen.
template <class Engine>
static Outcome withCounters(const Engine& engine, int64_t answer)
{
  const Search::Statistics s = engine.statistics();
  return {.answer = answer, .choicePoints = int64_t(s.node) - 1, .fails = int64_t(s.fail)};
}

static bool failsAtRoot(Model* root)
{
  if (root->status() != SS_FAILED)
    return false;
  delete root;
  return true;
}

static Outcome findAll(Model* root)
{
  if (failsAtRoot(root))
    return {};
  DFS<Model> engine(root, options());
  int64_t solutions = 0;
  while (Model* solution = engine.next()) {
    solutions++;
    delete solution;
  }
  return withCounters(engine, solutions);
}

template <typename Check>
static Outcome findFirst(Model* root, Check check)
{
  if (failsAtRoot(root))
    return {};
  DFS<Model> engine(root, options());
  const std::unique_ptr<Model> solution(engine.next());
  Outcome outcome = withCounters(engine, solution != nullptr);
  outcome.sound = !solution || check(solution->x);
  return outcome;
}

static Outcome findNone(Model* root)
{
  return findFirst(root, [](const IntVarArray&) { return true; });
}

static Outcome minimize(CostModel* root)
{
  if (failsAtRoot(root))
    return {};
  BAB<CostModel> engine(root, options());
  int64_t best = -1;
  while (CostModel* solution = engine.next()) {
    best = solution->cost.val();
    delete solution;
  }
  return withCounters(engine, best);
}

static Ints valuesOf(const IntVarArray& x)
{
  Ints values;
  for (int i = 0; i < x.size(); i++)
    values.push_back(x[i].val());
  return values;
}

// =====================================================================================================================
// The problems
// =====================================================================================================================

static Outcome start(const Problem&)
{
  Model model(1, 0, 0);
  (void)model.status();
  return {.answer = 1};
}

static void postAllDifferent(Model& model)
{
  const int n = model.x.size();
  allDifferent(model, model.x);
  allDifferent(model, IntArgs::create(n, 0, 1), model.x);
  allDifferent(model, IntArgs::create(n, 0, -1), model.x);
}

static void postPairs(Model& model)
{
  const int n = model.x.size();
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++)
      for (int offset : {0, j - i, i - j})
        linear(model, IntArgs({1, -1}), IntVarArgs({model.x[i], model.x[j]}), IRT_NQ, offset);
}

template <Choose choose>
static Model* placing(int n, void (*post)(Model&))
{
  auto* model = new Model(n, 0, n - 1);
  post(*model);
  branchOn<choose>(*model, model->x);
  return model;
}

static bool isPlacement(const IntVarArray& x) { return bench::isPlacement(valuesOf(x)); }

static Outcome queens(const Problem& problem)
{
  return findAll(placing<Choose::first>(problem.size, postAllDifferent));
}

static Outcome queensNeq(const Problem& problem) { return findAll(placing<Choose::first>(problem.size, postPairs)); }

static Outcome queensFirst(const Problem& problem)
{
  return findFirst(placing<Choose::fewest>(problem.size, postAllDifferent), isPlacement);
}

static Outcome queensFirstNeq(const Problem& problem)
{
  return findFirst(placing<Choose::fewest>(problem.size, postPairs), isPlacement);
}

/// Rows and columns of a square in turn.
template <class Vars>
static std::vector<Vars> linesOf(const Vars& cells, int n)
{
  std::vector<Vars> lines;
  for (int i = 0; i < n; i++) {
    Vars row, column;
    for (int j = 0; j < n; j++) {
      row << cells[i * n + j];
      column << cells[j * n + i];
    }
    lines.push_back(row);
    lines.push_back(column);
  }
  return lines;
}

static Outcome magic(const Problem& problem)
{
  const int n = problem.size;
  auto* model = new Model(n * n, 1, n * n);
  std::vector<IntVarArgs> lines = linesOf(IntVarArgs(model->x), n);
  IntVarArgs down, up;
  for (int i = 0; i < n; i++) {
    down << model->x[i * n + i];
    up << model->x[i * n + n - 1 - i];
  }
  lines.push_back(down);
  lines.push_back(up);
  allDifferent(*model, model->x);
  for (const IntVarArgs& line : lines)
    linear(*model, line, IRT_EQ, n * (n * n + 1) / 2, IPL_BND);
  branchOn(*model, model->x);
  return findAll(model);
}

static Model* latinSquare(int n)
{
  auto* model = new Model(n * n, 1, n);
  for (const IntVarArgs& line : linesOf(IntVarArgs(model->x), n))
    allDifferent(*model, line);
  return model;
}

static Outcome latin(const Problem& problem)
{
  Model* model = latinSquare(problem.size);
  branchOn(*model, model->x);
  return findAll(model);
}

static Outcome quasigroup(const Problem& problem)
{
  const Ints given = bench::holedSquare(problem.size);
  Model* model = latinSquare(problem.size);
  for (int i = 0; i < model->x.size(); i++)
    if (given[size_t(i)] != 0)
      rel(*model, model->x[i], IRT_EQ, given[size_t(i)]);
  branchOn<Choose::fewest>(*model, model->x);
  return findFirst(model, [&](const IntVarArray& x) { return bench::isCompletion(valuesOf(x), given); });
}

static Outcome langford(const Problem& problem)
{
  const int n = problem.size;
  auto* model = new Model;
  model->x = IntVarArray(*model, n);
  IntVarArgs all;
  for (int k = 1; k <= n; k++) {
    model->x[k - 1] = IntVar(*model, 0, 2 * n - 2 - k);
    const IntVar second(*model, k + 1, 2 * n - 1);
    linear(*model, IntArgs({1, -1}), IntVarArgs({second, model->x[k - 1]}), IRT_EQ, k + 1, IPL_DOM);
    all << model->x[k - 1] << second;
  }
  allDifferent(*model, all);
  branchOn(*model, model->x);
  return findAll(model);
}

static Outcome colouring(const Problem& problem)
{
  const int side = problem.size;
  auto* model = new Model(side * side, 1, side);
  for (int first = 0; first < side * side; first++)
    for (int second = first + 1; second < side * side; second++) {
      const int rows = second / side - first / side, columns = second % side - first % side;
      if (rows == 0 || columns == 0 || rows == columns || rows == -columns)
        rel(*model, model->x[first], IRT_NQ, model->x[second]);
    }
  for (int i = 0; i < side; i++)
    rel(*model, model->x[i], IRT_EQ, i + 1);
  branchOn<Choose::fewest>(*model, model->x);
  return findNone(model);
}

static Outcome pigeonholes(const Problem& problem)
{
  auto* model = new Model(problem.size, 1, problem.size - 1);
  for (int i = 0; i < problem.size; i++)
    for (int j = i + 1; j < problem.size; j++)
      rel(*model, model->x[i], IRT_NQ, model->x[j]);
  branchOn(*model, model->x);
  return findNone(model);
}

static Outcome cryptarithms(const Problem&)
{
  const bench::Cryptarithm puzzle = bench::cryptarithm();
  auto* model = new Model(int(puzzle.coefficients.size()), 0, 9);
  allDifferent(*model, model->x);
  linear(*model, IntArgs(puzzle.coefficients), model->x, IRT_EQ, 0, IPL_BND);
  for (int i : puzzle.leading)
    rel(*model, model->x[i], IRT_NQ, 0);
  branchOn(*model, model->x);
  return findAll(model);
}

static Outcome linearSystem(const Problem& problem)
{
  const bench::Equations system = bench::equations(problem.size);
  auto* model = new Model(problem.size, 0, system.largest);
  for (size_t k = 0; k < system.sums.size(); k++)
    linear(*model, IntArgs(system.coefficients[k]), model->x, IRT_EQ, system.sums[k], IPL_BND);
  branchOn(*model, model->x);
  return findAll(model);
}

static Outcome knapsacks(const Problem& problem)
{
  const bench::Knapsack sack = bench::knapsack(problem.size);
  auto* model = new Model;
  model->b = BoolVarArray(*model, problem.size, 0, 1);
  linear(*model, IntArgs(sack.weights), model->b, IRT_LQ, sack.capacity);
  linear(*model, IntArgs(sack.worths), model->b, IRT_GQ, sack.worth);
  branchOn(*model, model->b);
  return findAll(model);
}

static DFA dfaOf(const bench::Automaton& automaton)
{
  std::vector<DFA::Transition> transitions;
  for (int state = 0; state < automaton.nbStates; state++)
    for (int symbol : {0, 1})
      if (const int next = automaton.next[size_t(state * 2 + symbol)]; next >= 0)
        transitions.emplace_back(state, symbol, next);
  transitions.emplace_back(-1, 0, 0);
  int finals[] = {automaton.nbStates - 1, -1};
  return DFA(0, transitions.data(), finals);
}

static Outcome nonograms(const Problem& problem)
{
  const bench::Nonogram puzzle = bench::nonogram(problem.size);
  auto* model = new Model;
  model->b = BoolVarArray(*model, problem.size * problem.size, 0, 1);
  const std::vector<BoolVarArgs> lines = linesOf(BoolVarArgs(model->b), problem.size);
  for (size_t i = 0; i < lines.size(); i++)
    extensional(*model, lines[i], dfaOf(bench::automatonOf(i % 2 ? puzzle.columns[i / 2] : puzzle.rows[i / 2])));
  branchOn(*model, model->b);
  return findAll(model);
}

static Outcome carLine(const Problem& problem)
{
  const bench::Cars line = bench::cars(problem.size);
  const int nbClasses = int(line.demand.size());
  auto* model = new Model(problem.size, 0, nbClasses - 1);
  for (const bench::CarOption& option : line.options) {
    const IntSharedArray table{IntArgs(option.classes)};
    BoolVarArgs has(*model, problem.size, 0, 1);
    for (int i = 0; i < problem.size; i++)
      element(*model, table, model->x[i], has[i], IPL_DOM);
    for (int i = 0; i + option.window <= problem.size; i++)
      linear(*model, has.slice(i, 1, option.window), IRT_LQ, option.most);
  }
  for (int c = 0; c < nbClasses; c++)
    count(*model, model->x, c, IRT_EQ, line.demand[size_t(c)]);
  branchOn(*model, model->x);
  return findAll(model);
}

// =====================================================================================================================
// Job shops: orders first, then starts
// =====================================================================================================================

static std::vector<bench::Pair> pairs;
static Ints durations;

class OrdersThenStarts : public Brancher
{
public:
  static void post(Home home, const BoolVarArgs& orders, const IntVarArgs& starts)
  {
    (void)new (home) OrdersThenStarts(home, ViewArray<BoolView>(home, orders), ViewArray<IntView>(home, starts));
  }

  OrdersThenStarts(Home home, ViewArray<BoolView> orders, ViewArray<IntView> starts)
    : Brancher(home), _orders(orders), _starts(starts)
  {}

  OrdersThenStarts(Space& home, OrdersThenStarts& other) : Brancher(home, other)
  {
    _orders.update(home, other._orders);
    _starts.update(home, other._starts);
  }

  Actor* copy(Space& home) override { return new (home) OrdersThenStarts(home, *this); }

  bool status(const Space&) const override { return !_orders.assigned() || !_starts.assigned(); }

  // Starts are numbered behind the orders.
  const Choice* choice(Space&) override
  {
    const int order = bench::tightestOrder(
        pairs, durations, [&](int p) { return !_orders[2 * p].assigned(); }, [&](int i) { return _starts[i].min(); },
        [&](int i) { return _starts[i].max(); });
    if (order >= 0)
      return new Values(*this, order, _orders[order]);
    int i = 0;
    while (_starts[i].assigned())
      i++;
    return new Values(*this, _orders.size() + i, _starts[i]);
  }

  const Choice* choice(const Space&, Archive& archive) override { return new Values(*this, archive); }

  ExecStatus commit(Space& home, const Choice& choice, unsigned alternative) override
  {
    const auto& values = static_cast<const Values&>(choice);
    const int position = values.position(), value = values.value(alternative);
    const ModEvent event = position < _orders.size() ? _orders[position].eq(home, value)
                                                     : _starts[position - _orders.size()].eq(home, value);
    return me_failed(event) ? ES_FAILED : ES_OK;
  }

  size_t dispose(Space& home) override
  {
    (void)Brancher::dispose(home);
    return sizeof(*this);
  }

private:
  ViewArray<BoolView> _orders;
  ViewArray<IntView> _starts;
};

static Outcome jobShops(const Problem& problem)
{
  const bench::JobShop& shop = bench::jobShop(problem.model);
  pairs = bench::pairsOf(shop);
  durations = bench::durationsOf(shop);
  auto* model = new Model;
  model->x = IntVarArray(*model, int(durations.size()));
  for (int i = 0; i < model->x.size(); i++)
    model->x[i] = IntVar(*model, 0, problem.size - durations[size_t(i)]);
  const IntArgs lessThan({1, -1});
  auto ends = [&](int i) { return -durations[size_t(i)]; };
  int next = 0;
  for (const auto& job : shop.jobs)
    for (size_t k = 0; k < job.size(); k++, next++)
      if (k > 0)
        linear(*model, lessThan, IntVarArgs({model->x[next - 1], model->x[next]}), IRT_LQ, ends(next - 1));
  BoolVarArgs orders(*model, 2 * int(pairs.size()), 0, 1);
  for (int p = 0; p < int(pairs.size()); p++) {
    const auto [i, j] = pairs[size_t(p)];
    linear(*model, lessThan, IntVarArgs({model->x[i], model->x[j]}), IRT_LQ, ends(i), orders[2 * p]);
    linear(*model, lessThan, IntVarArgs({model->x[j], model->x[i]}), IRT_LQ, ends(j), orders[2 * p + 1]);
    rel(*model, orders[2 * p], IRT_NQ, orders[2 * p + 1]);
  }
  OrdersThenStarts::post(*model, orders, model->x);
  return findFirst(model, [&](const IntVarArray& x) { return bench::isSchedule(shop, valuesOf(x), problem.size); });
}

// =====================================================================================================================
// Problems with differences, and those with a cost
// =====================================================================================================================

static IntVar difference(Model& model, IntVar a, IntVar b, int low, int high)
{
  IntVar d(model, low, high);
  linear(model, IntArgs({1, -1, -1}), IntVarArgs({a, b, d}), IRT_EQ, 0, IPL_BND);
  return d;
}

static Outcome golomb(const Problem& problem)
{
  const int n = problem.size, longest = n * n;
  auto* model = new CostModel(n, 0, longest);
  IntVarArgs differences;
  rel(*model, model->x[0], IRT_EQ, 0);
  for (int j = 1; j < n; j++) {
    rel(*model, model->x[j - 1], IRT_LE, model->x[j]);
    for (int i = 0; i < j; i++)
      differences << difference(*model, model->x[j], model->x[i], 1, longest);
  }
  allDifferent(*model, differences);
  rel(*model, differences[0], IRT_LE, differences[differences.size() - 1]);
  model->cost = model->x[n - 1];
  branchOn(*model, model->x);
  return minimize(model);
}

static Outcome interval(const Problem& problem)
{
  const int n = problem.size;
  auto* model = new Model(n, 0, n - 1);
  IntVarArgs intervals(*model, n - 1, 1, n - 1);
  for (int i = 1; i < n; i++)
    abs(*model, difference(*model, model->x[i], model->x[i - 1], 1 - n, n - 1), intervals[i - 1], IPL_DOM);
  allDifferent(*model, model->x);
  allDifferent(*model, intervals);
  branchOn(*model, model->x);
  return findAll(model);
}

static Outcome tour(const Problem& problem)
{
  const int n = problem.size;
  const Ints distances = bench::distances(n);
  const IntSharedArray table{IntArgs(distances)};
  const int longest = *std::max_element(distances.begin(), distances.end());
  auto* model = new CostModel(n, 0, n - 1);
  IntVarArgs legs(*model, n, 0, longest);
  rel(*model, model->x[0], IRT_EQ, 0);
  allDifferent(*model, model->x);
  for (int i = 0; i < n; i++) {
    IntVar leg(*model, 0, n * n - 1);
    linear(*model, IntArgs({n, 1, -1}), IntVarArgs({model->x[i], model->x[(i + 1) % n], leg}), IRT_EQ, 0, IPL_BND);
    element(*model, table, leg, legs[i], IPL_DOM);
  }
  model->cost = IntVar(*model, 0, n * longest);
  linear(*model, legs, IRT_EQ, model->cost, IPL_BND);
  branchOn(*model, model->x);
  return minimize(model);
}

// =====================================================================================================================
// Rosters and projects
// =====================================================================================================================

/// Day by day, those with the fewest shifts left first, each with the shift of the day before if that may be.
class DayByDay : public Brancher
{
public:
  static void post(Home home, const IntVarArgs& shifts, int nbPeople)
  {
    (void)new (home) DayByDay(home, ViewArray<IntView>(home, shifts), nbPeople);
  }

  DayByDay(Home home, ViewArray<IntView> shifts, int nbPeople) : Brancher(home), _shifts(shifts), _nbPeople(nbPeople) {}

  DayByDay(Space& home, DayByDay& other) : Brancher(home, other), _nbPeople(other._nbPeople), _start(other._start)
  {
    _shifts.update(home, other._shifts);
  }

  Actor* copy(Space& home) override { return new (home) DayByDay(home, *this); }

  bool status(const Space&) const override
  {
    while (_start < _shifts.size() && _shifts[_start].assigned())
      _start++;
    return _start < _shifts.size();
  }

  const Choice* choice(Space&) override
  {
    const int nextDay = (_start / _nbPeople + 1) * _nbPeople;
    int chosen = _start;
    for (int i = _start + 1; i < nextDay; i++)
      if (!_shifts[i].assigned() && _shifts[i].size() < _shifts[chosen].size())
        chosen = i;
    auto* values = new Values(*this, chosen, _shifts[chosen]);
    if (chosen >= _nbPeople)
      values->bringForward(_shifts[chosen - _nbPeople].min());
    return values;
  }

  const Choice* choice(const Space&, Archive& archive) override { return new Values(*this, archive); }

  ExecStatus commit(Space& home, const Choice& choice, unsigned alternative) override
  {
    const auto& values = static_cast<const Values&>(choice);
    return me_failed(_shifts[values.position()].eq(home, values.value(alternative))) ? ES_FAILED : ES_OK;
  }

  size_t dispose(Space& home) override
  {
    (void)Brancher::dispose(home);
    return sizeof(*this);
  }

private:
  ViewArray<IntView> _shifts;
  int _nbPeople;
  mutable int _start = 0; // all shifts before it are assigned
};

static Outcome roster(const Problem& problem)
{
  const bench::Roster plan = bench::roster(problem.size);
  const int people = plan.nbPeople, nbDays = plan.nbDays;
  std::vector<DFA::Transition> transitions;
  std::vector<int> finals;
  for (int state = 0; state < plan.nbStates; state++) {
    finals.push_back(state);
    for (int shift = 0; shift < plan.nbShifts; shift++)
      if (const int next = plan.next[size_t(state * plan.nbShifts + shift)]; next >= 0)
        transitions.emplace_back(state, shift, next);
  }
  transitions.emplace_back(-1, 0, 0);
  finals.push_back(-1);
  const DFA automaton(0, transitions.data(), finals.data());
  auto* model = new Model(nbDays * people, 0, plan.nbShifts - 1);
  for (int i = 0; i < people; i++)
    extensional(*model, model->x.slice(i, people, nbDays), automaton);
  for (int day = 0; day < nbDays; day++)
    for (int shift = 1; shift < plan.nbShifts; shift++)
      count(*model, model->x.slice(day * people, 1, people), shift, IRT_EQ, plan.demand[size_t(shift)]);
  DayByDay::post(*model, model->x, people);
  return findFirst(model, [&](const IntVarArray& x) { return bench::isRoster(plan, valuesOf(x)); });
}

static Outcome project(const Problem& problem)
{
  const bench::Project plan = bench::project(problem.size);
  auto* model = new Model;
  model->x = IntVarArray(*model, problem.size);
  for (int i = 0; i < problem.size; i++)
    model->x[i] = IntVar(*model, 0, plan.end - plan.durations[size_t(i)]);
  cumulative(*model, plan.capacity, model->x, IntArgs(plan.durations), IntArgs(plan.needs), IPL_BASIC);
  branchOn<Choose::earliest>(*model, model->x);
  return findFirst(model, [&](const IntVarArray& x) { return bench::isSchedule(plan, valuesOf(x)); });
}

static const bench::Model models[] = {{"start", start}, {"queens", queens}, {"queens-neq", queensNeq},
    {"queens-first", queensFirst}, {"queens-first-neq", queensFirstNeq}, {"magic", magic}, {"latin", latin},
    {"quasigroup", quasigroup}, {"langford", langford}, {"colouring", colouring}, {"pigeonholes", pigeonholes},
    {"cryptarithm", cryptarithms}, {"linear", linearSystem}, {"knapsack", knapsacks}, {"nonogram", nonograms},
    {"cars", carLine}, {"jobshop-ft06", jobShops}, {"jobshop-la01", jobShops}, {"jobshop-la02", jobShops},
    {"jobshop-la03", jobShops}, {"jobshop-la04", jobShops}, {"jobshop-la05", jobShops}, {"golomb", golomb},
    {"interval", interval}, {"tour", tour}, {"roster", roster}, {"project", project}};

int main(int argc, char** argv) { return bench::run(argc, argv, bench::Program::peer, models, int(std::size(models))); }
