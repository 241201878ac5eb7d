/*
 * Regular: the values of an array of variables spell a word that a deterministic finite automaton accepts.
 *
 * Strength: domain consistent, as long as no variable stands at two positions. The automaton is unrolled over the
 * positions into layers of states, layer k being what can be reached after k symbols and still leads to a final state.
 * The states of a layer are a private variable, and an edge is alive while its symbol and both its ends are in their
 * domains. Each edge stands in three lists: of its source, its target and its symbol, the owners. Each list has a
 * cursor on one live edge, the owner's watched support; only when an event hits that edge the list is searched, and an
 * owner without a live edge is removed, which is the next event. Who may watch an edge of a lost state is read off that
 * state's own lists, so such an event costs no more than its edges. See G. Pesant, "A regular language membership
 * constraint for finite sequences of variables", 2004.
 *
 * Lists never change after posting. The cursors lie outside the trail: restoring only widens domains, so an edge that
 * was alive still is. When a context inside another one is accepted and the outer one restored, a variable may be wider
 * than it was at posting: values that the automaton hasn't been unrolled for have no list, and are passed over.
 */
#include "rcsBits.h"
#include "rcsBound.h"
#include "rcsPost.h"

struct RegularEdge
{
  int32_t _first;
  int32_t _second;
};

/// In the lists of a source and of a target the first coordinate is the symbol and the second one the state at the
/// other end. In the list of a symbol they are source and target.
struct RegularEdges
{
  int32_t _cursor;
  int32_t _count;
  RegularEdge _edges[];
};

struct RegularLayer
{
  RegularEdges** _in;  ///< by target; null in the first layer
  RegularEdges** _out; ///< by source; null in the last layer; heads the block of all that belongs to the step
  CSint _state;
};

struct RegularData
{
  int32_t _size;
  int32_t _nbStates;
  int32_t _nbSymbols;
  CSint** _vars;
  RegularLayer* _layers;       ///< one more than variables
  RegularEdges** _symbolEdges; ///< a row of symbols for each variable; null where a symbol has no edge
};

/// Private record of the constraint on the states.
struct StateRef
{
  RegularData* _owner;
};

static RegularEdges** symbolRow(const RegularData* d, int32_t k)
{
  return d->_symbolEdges + size_t(k) * size_t(d->_nbSymbols);
}

// =====================================================================================================================
// Walking
// =====================================================================================================================

/// A walk upwards over the values of a variable that lie in 0.._size - 1, by the word.
struct Walk
{
  const CSint* _variable;
  int32_t _size;
  int32_t _value; ///< where the walk stands
  int64_t _next;  ///< value of the lowest of _bits
  uint64_t _bits; ///< from _next on, as read; those passed are gone
  int64_t _end;   ///< first value that isn't among the bits
  int64_t _last;  ///< largest value that there was at the last reading: there can only be fewer since
};

static inline Walk walkOver(const CSint* variable, int32_t size)
{
  int64_t first = largerOf(variable->_min, 0);
  return {._variable = variable, ._size = size, ._value = 0, ._next = first, ._bits = 0, ._end = first, ._last = size};
}

/// An update may have moved the upper bound, turned bits off or made the bit-set: what lies ahead is read afresh.
static inline void readAgain(Walk& w)
{
  w._bits = 0;
  w._end = int64_t(w._value) + 1;
}

/// Reads the next word that has a bit on; false when there is none.
[[gnu::always_inline]] static inline bool readWord(Walk& w)
{
  const Domain* set = w._variable->_domain;
  w._last = smallerOf(w._variable->_max, w._size - 1);
  if (set)
    w._last = smallerOf(int32_t(w._last), set->_high);
  do {
    w._next = w._end;
    if (w._next > w._last)
      return false;
    w._bits = bitsFrom(set, int32_t(w._next)) & lowestBits(w._last - w._next + 1);
    w._end += 64;
  } while (!w._bits);
  return true;
}

/// Both inlined, so that a walk of the innermost loops lives in registers.
[[gnu::always_inline]] static inline bool advance(Walk& w)
{
  if (!w._bits && (w._end > w._last || !readWord(w)))
    return false;
  w._value = int32_t(w._next + std::countr_zero(w._bits));
  w._bits &= w._bits - 1;
  return true;
}

// =====================================================================================================================
// Watched edges
// =====================================================================================================================

/// Moves the cursor to the next live edge, once round. False when there is none, and the cursor stays.
[[gnu::noinline]] static bool findSupport(RegularEdges* list, const CSint* first, const CSint* second)
{
  const RegularEdge* edges = list->_edges;
  const int32_t cursor = list->_cursor, count = list->_count;
  auto search = [=](int32_t from, int32_t to) {
    for (int32_t i = from; i < to; i++) {
      if (holds(first, edges[i]._first) && holds(second, edges[i]._second)) {
        list->_cursor = i;
        return true;
      }
    }
    return false;
  };
  return search(cursor + 1, count) || search(0, cursor);
}

/// For each owner whose watched edge the event has hit at that coordinate: another live edge, or the owner goes.
/// `first` and `second` are the variables of the two coordinates.
template <int32_t RegularEdge::*coordinate, typename Hit>
static int rewatch(
    CSint* owners, int32_t size, RegularEdges** lists, const CSint* first, const CSint* second, Hit isHit)
{
  for (Walk w = walkOver(owners, size); advance(w);) {
    RegularEdges* list = lists[w._value];
    if (!list || !isHit(list->_edges[list->_cursor].*coordinate)) [[likely]]
      continue;
    if (findSupport(list, first, second))
      continue;
    if (!rcsRemoveValue(owners, w._value))
      return 0;
    readAgain(w);
  }
  return 1;
}

template <int32_t RegularEdge::*coordinate, typename Hit>
static int rewatchSources(const RegularData* d, int32_t k, Hit isHit)
{
  RegularLayer *from = d->_layers + k, *to = from + 1;
  return rewatch<coordinate>(&from->_state, d->_nbStates, from->_out, d->_vars[k], &to->_state, isHit);
}

template <int32_t RegularEdge::*coordinate, typename Hit>
static int rewatchTargets(const RegularData* d, int32_t k, Hit isHit)
{
  RegularLayer *from = d->_layers + k, *to = from + 1;
  return rewatch<coordinate>(&to->_state, d->_nbStates, to->_in, d->_vars[k], &from->_state, isHit);
}

template <int32_t RegularEdge::*coordinate, typename Hit>
static int rewatchSymbols(const RegularData* d, int32_t k, Hit isHit)
{
  RegularLayer *from = d->_layers + k, *to = from + 1;
  return rewatch<coordinate>(d->_vars[k], d->_nbSymbols, symbolRow(d, k), &from->_state, &to->_state, isHit);
}

/// The variable at that position has changed: it is the symbol in the lists of the states on both sides.
template <typename Hit>
static int onSymbol(const Tconstraint* t, Hit isHit)
{
  auto* d = dataOf<RegularData>(t);
  const int32_t k = t->_index;
  return rewatchSources<&RegularEdge::_first>(d, k, isHit) && rewatchTargets<&RegularEdge::_first>(d, k, isHit);
}

/// The states of that layer have changed: they are sources of the step behind it and targets of the step before it.
template <typename Hit>
static int onState(const Tconstraint* t, Hit isHit)
{
  const RegularData* d = dataOf<StateRef>(t)->_owner;
  const int32_t k = t->_index;
  if (k < d->_size &&
      !(rewatchSymbols<&RegularEdge::_first>(d, k, isHit) && rewatchTargets<&RegularEdge::_second>(d, k, isHit)))
    return 0;
  return rewatchSymbols<&RegularEdge::_second>(d, k - 1, isHit) &&
         rewatchSources<&RegularEdge::_second>(d, k - 1, isHit);
}

/// Sets of states and of symbols as bits, for automata that have no more than 64 of either.
constexpr int32_t smallSize = 64;

static uint64_t bitsBelow(int32_t value) { return value < smallSize ? (uint64_t(1) << value) - 1 : ~uint64_t(0); }

/// The other ends of edges.
struct Ends
{
  uint64_t _symbols;
  uint64_t _states;
};

/// Of all edges of some states, of which these are the lists.
static Ends endsOf(RegularEdges* const* lists, uint64_t states)
{
  Ends ends = {._symbols = 0, ._states = 0};
  for (; states; states &= states - 1) {
    const RegularEdges* list = lists[std::countr_zero(states)];
    if (!list)
      continue;
    for (const RegularEdge *edge = list->_edges, *end = edge + list->_count; edge < end; edge++) {
      ends._symbols |= uint64_t(1) << edge->_first;
      ends._states |= uint64_t(1) << edge->_second;
    }
  }
  return ends;
}

/// As rewatch, where the event can have hit none but the edges of some of these owners.
template <int32_t RegularEdge::*coordinate, typename Hit>
static int rewatchAmong(
    uint64_t among, CSint* owners, RegularEdges** lists, const CSint* first, const CSint* second, Hit isHit)
{
  for (; among; among &= among - 1) {
    const int32_t owner = std::countr_zero(among);
    RegularEdges* list = lists[owner];
    if (isHit(list->_edges[list->_cursor].*coordinate) && holds(owners, owner) && !findSupport(list, first, second) &&
        !rcsRemoveValue(owners, owner))
      return 0;
  }
  return 1;
}

/// As onState, for an event by which the layer has lost the states from `low` to before `end`, as far as it had them.
template <typename Hit>
static int onLostStates(const Tconstraint* t, int32_t low, int32_t end, Hit isHit)
{
  const RegularData* d = dataOf<StateRef>(t)->_owner;
  if (d->_nbStates > smallSize || d->_nbSymbols > smallSize)
    return onState(t, isHit);
  const uint64_t lost = bitsBelow(end) & ~bitsBelow(low);
  const int32_t k = t->_index;
  RegularLayer *here = d->_layers + k, *before = here - 1, *behind = here + 1;
  if (k < d->_size) {
    CSint* x = d->_vars[k];
    const Ends ends = endsOf(here->_out, lost);
    if (!rewatchAmong<&RegularEdge::_first>(ends._symbols, x, symbolRow(d, k), &here->_state, &behind->_state, isHit) ||
        !rewatchAmong<&RegularEdge::_second>(ends._states, &behind->_state, behind->_in, x, &here->_state, isHit))
      return 0;
  }
  CSint* x = d->_vars[k - 1];
  const Ends ends = endsOf(here->_in, lost);
  return rewatchAmong<&RegularEdge::_second>(
             ends._symbols, x, symbolRow(d, k - 1), &before->_state, &here->_state, isHit) &&
         rewatchAmong<&RegularEdge::_second>(ends._states, &before->_state, before->_out, x, &here->_state, isHit);
}

// =====================================================================================================================
// Handlers
//
// What an event means for a coordinate is read off once, at its start, and stays so for the whole handler.
// =====================================================================================================================

static auto isBelowMin(const CSint* v)
{
  return [min = v->_min](int32_t coordinate) { return coordinate < min; };
}

static auto isAboveMax(const CSint* v)
{
  return [max = v->_max](int32_t coordinate) { return coordinate > max; };
}

static auto isNotTheValue(const CSint* v)
{
  return [value = v->_min](int32_t coordinate) { return coordinate != value; };
}

static auto isTheRemoved(int32_t removed)
{
  return [removed](int32_t coordinate) { return coordinate == removed; };
}

static int PtintNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onSymbol(t, isBelowMin(v)); }

static int PtintNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onSymbol(t, isAboveMax(v)); }

static int PtintEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onSymbol(t, isNotTheValue(v)); }

static int PtintNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  return onSymbol(t, isTheRemoved(removed));
}

static int PstateNewMinEvent(CSint* v, Tconstraint* t, int32_t old, int32_t)
{
  return onLostStates(t, old, v->_min, isBelowMin(v));
}

static int PstateNewMaxEvent(CSint* v, Tconstraint* t, int32_t old, int32_t)
{
  return onLostStates(t, v->_max + 1, old + 1, isAboveMax(v));
}

// Most of a layer is lost at once here, so the edges of what is left are looked at.
static int PstateEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onState(t, isNotTheValue(v)); }

static int PstateNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  return onLostStates(t, removed, removed + 1, isTheRemoved(removed));
}

static const Handler Ptint[6] = {
    PtintNewMinEvent, PtintNewMaxEvent, PtintEqEvent, PtintEqEvent, PtintEqEvent, PtintNeqEvent};

static const Handler Pstate[6] = {
    PstateNewMinEvent, PstateNewMaxEvent, PstateEqEvent, PstateEqEvent, PstateEqEvent, PstateNeqEvent};

// =====================================================================================================================
// Memory of the unrolled automaton
// =====================================================================================================================

/// `rows` times `columns` zeros, one at least; null when out of memory, which no size gets around by wrapping.
template <typename T>
static T* newTable(size_t rows, size_t columns)
{
  size_t count;
  void* table = nullptr;
  if (!__builtin_mul_overflow(rows, columns, &count))
    table = calloc(count ? count : 1, sizeof(T));
  if (!table)
    rcsHandleNoMemoryError();
  return static_cast<T*>(table);
}

static void addEdge(RegularEdges* list, int32_t first, int32_t second)
{
  list->_edges[list->_count++] = {._first = first, ._second = second};
}

/// Frees what there is; the last attachment of a state takes the constraint on the states with it.
static void freeGraph(const RegularData* d)
{
  free(d->_symbolEdges);
  if (!d->_layers)
    return;
  for (int32_t k = 0; k <= d->_size; k++) {
    RegularLayer* layer = d->_layers + k;
    free(layer->_out);
    while (layer->_state._constraints)
      _rcsRemoveConstraint(&layer->_state);
    _rcsIntDestroy(&layer->_state);
  }
  free(d->_layers);
}

static void cTintDestructor(void* data) { freeGraph(static_cast<RegularData*>(data)); }

// =====================================================================================================================
// Unrolling
//
// States are taken out of their layers without the trail: nobody is attached to them yet, and what is left is their
// domain from the start. A layer that would lose its last state says that there is no such word.
// =====================================================================================================================

struct Unrolling
{
  RegularData _graph;
  const int* _transitions;
  int32_t* _nbLive;  ///< of each symbol at each step: its edges between live states
  uint8_t* _marked;  ///< of each state
  size_t* _incoming; ///< of each state of one layer: its incoming edges
};

static int32_t* liveRow(const Unrolling& u, int32_t k) { return u._nbLive + size_t(k) * size_t(u._graph._nbSymbols); }

static const int* transitionsOf(const Unrolling& u, int32_t state)
{
  return u._transitions + size_t(state) * size_t(u._graph._nbSymbols);
}

static Walk walkStates(const Unrolling& u, int32_t k)
{
  return walkOver(&u._graph._layers[k]._state, u._graph._nbStates);
}

static Walk walkSymbols(const Unrolling& u, int32_t k) { return walkOver(u._graph._vars[k], u._graph._nbSymbols); }

static bool isState(int32_t state, int32_t nbStates) { return 0 <= state && state < nbStates; }

static bool openUnrolling(Unrolling& u, int32_t initial)
{
  RegularData& d = u._graph;
  size_t n = size_t(d._size), nbStates = size_t(d._nbStates), nbSymbols = size_t(d._nbSymbols);
  d._layers = newTable<RegularLayer>(n + 1, 1);
  if (!d._layers)
    return false;
  _rcsIntInit(&d._layers[0]._state, initial, initial);
  for (size_t k = 1; k <= n; k++)
    _rcsIntInit(&d._layers[k]._state, 0, d._nbStates - 1);
  return (d._symbolEdges = newTable<RegularEdges*>(n, nbSymbols)) && (u._nbLive = newTable<int32_t>(n, nbSymbols)) &&
         (u._marked = newTable<uint8_t>(nbStates, 1)) && (u._incoming = newTable<size_t>(nbStates, 1));
}

static void clearMarks(const Unrolling& u) { memset(u._marked, 0, size_t(u._graph._nbStates)); }

/// Marks the states that are left of a layer.
static void markStates(const Unrolling& u, int32_t k)
{
  clearMarks(u);
  for (Walk state = walkStates(u, k); advance(state);)
    u._marked[state._value] = 1;
}

static bool dropState(CSint* layer, int32_t state) { return !isFixed(layer) && _rcsRemoveValue(layer, state); }

static bool keepMarked(const Unrolling& u, int32_t k)
{
  for (Walk state = walkStates(u, k); advance(state);)
    if (!u._marked[state._value] && !dropState(&u._graph._layers[k]._state, state._value))
      return false;
  return true;
}

/// Keeps what the first symbols reach, and counts all edges from there.
static bool reachForward(const Unrolling& u, int32_t k)
{
  clearMarks(u);
  uint8_t* const marked = u._marked;
  int32_t* const nbLive = liveRow(u, k);
  const int32_t nbStates = u._graph._nbStates;
  for (Walk source = walkStates(u, k); advance(source);) {
    const int* targets = transitionsOf(u, source._value);
    for (Walk symbol = walkSymbols(u, k); advance(symbol);) {
      int32_t target = targets[symbol._value];
      if (!isState(target, nbStates))
        continue;
      marked[target] = 1;
      nbLive[symbol._value]++;
    }
  }
  return keepMarked(u, k + 1);
}

static bool keepFinals(const Unrolling& u, const int* finals, int32_t nbFinals)
{
  clearMarks(u);
  for (int32_t i = 0; i < nbFinals; i++)
    if (isState(finals[i], u._graph._nbStates))
      u._marked[finals[i]] = 1;
  return keepMarked(u, u._graph._size);
}

/// Keeps what still leads to a final state, and takes the edges off the counts that don't.
static bool reachBackward(const Unrolling& u, int32_t k)
{
  markStates(u, k + 1);
  const uint8_t* const marked = u._marked;
  int32_t* const nbLive = liveRow(u, k);
  const int32_t nbStates = u._graph._nbStates;
  for (Walk source = walkStates(u, k); advance(source);) {
    const int* targets = transitionsOf(u, source._value);
    bool leads = false;
    for (Walk symbol = walkSymbols(u, k); advance(symbol);) {
      int32_t target = targets[symbol._value];
      if (!isState(target, nbStates))
        continue;
      if (marked[target])
        leads = true;
      else
        nbLive[symbol._value]--;
    }
    if (!leads && !dropState(&u._graph._layers[k]._state, source._value))
      return false;
  }
  return true;
}

static bool prune(const Unrolling& u, const int* finals, int32_t nbFinals)
{
  for (int32_t k = 0; k < u._graph._size; k++)
    if (!reachForward(u, k))
      return false;
  if (!keepFinals(u, finals, nbFinals))
    return false;
  for (int32_t k = u._graph._size - 1; k >= 0; k--)
    if (!reachBackward(u, k))
      return false;
  return true;
}

/// The lists of a step lie in one block behind the tables of its sources and of its targets, which are empty yet. Comes
/// back with the place of the first list; null when out of memory.
static void* openStep(const Unrolling& u, int32_t k)
{
  const RegularData& d = u._graph;
  RegularLayer *from = d._layers + k, *to = from + 1;
  size_t nbLists = size_t(from->_state._nbElements) + size_t(to->_state._nbElements), nbEdges = 0;
  for (Walk symbol = walkSymbols(u, k); advance(symbol);) {
    nbLists++;
    nbEdges += size_t(liveRow(u, k)[symbol._value]);
  }
  const size_t tables = 2 * size_t(d._nbStates) * sizeof(RegularEdges*);
  size_t size;
  void* block = nullptr;
  if (!__builtin_mul_overflow(nbEdges, 3 * sizeof(RegularEdge), &size) &&
      !__builtin_add_overflow(size, nbLists * sizeof(RegularEdges) + tables, &size))
    block = malloc(size);
  if (!block) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  memset(block, 0, tables);
  from->_out = static_cast<RegularEdges**>(block);
  to->_in = from->_out + d._nbStates;
  return to->_in + d._nbStates;
}

/// An empty list, and where the next one goes if this one is to have so many edges.
static RegularEdges* openList(void*& place, size_t nbEdges)
{
  auto* list = static_cast<RegularEdges*>(place);
  *list = {._cursor = 0, ._count = 0};
  place = list->_edges + nbEdges;
  return list;
}

/// The lists of the sources of a step, of which the other two sorts are copies; counts the edges of each target.
static void listSources(const Unrolling& u, int32_t k, void*& place)
{
  const RegularData& d = u._graph;
  const int32_t nbStates = d._nbStates;
  markStates(u, k + 1);
  const uint8_t* const marked = u._marked;
  size_t* const incoming = u._incoming;
  memset(incoming, 0, size_t(nbStates) * sizeof(size_t));
  for (Walk source = walkStates(u, k); advance(source);) {
    RegularEdges* list = d._layers[k]._out[source._value] = openList(place, 0);
    const int* targets = transitionsOf(u, source._value);
    for (Walk symbol = walkSymbols(u, k); advance(symbol);) {
      int32_t target = targets[symbol._value];
      if (!isState(target, nbStates) || !marked[target])
        continue;
      addEdge(list, symbol._value, target);
      incoming[target]++;
    }
    place = list->_edges + list->_count;
  }
}

/// The lists of the targets and of the symbols of a step, of exactly the sizes that were counted.
static void listTargetsAndSymbols(const Unrolling& u, int32_t k, void*& place)
{
  const RegularData& d = u._graph;
  const int32_t* nbLive = liveRow(u, k);
  RegularEdges** in = d._layers[k + 1]._in;
  for (Walk target = walkStates(u, k + 1); advance(target);)
    in[target._value] = openList(place, u._incoming[target._value]);
  RegularEdges** row = symbolRow(&d, k);
  for (Walk symbol = walkSymbols(u, k); advance(symbol);)
    if (nbLive[symbol._value] > 0)
      row[symbol._value] = openList(place, size_t(nbLive[symbol._value]));
  for (Walk source = walkStates(u, k); advance(source);) {
    const RegularEdges* list = d._layers[k]._out[source._value];
    for (int32_t i = 0; i < list->_count; i++) {
      auto [symbol, target] = list->_edges[i];
      addEdge(in[target], symbol, source._value);
      addEdge(row[symbol], source._value, target);
    }
  }
}

static bool unroll(Unrolling& u, int32_t initial, const int* finals, int32_t nbFinals)
{
  if (!openUnrolling(u, initial) || !prune(u, finals, nbFinals))
    return false;
  for (int32_t k = 0; k < u._graph._size; k++) {
    void* place = openStep(u, k);
    if (!place)
      return false;
    listSources(u, k, place);
    listTargetsAndSymbols(u, k, place);
  }
  return true;
}

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// Attaches both constraints. The graph belongs to the first one as soon as that one stands.
static bool attach(ConstraintInfo* info, const RegularData& graph)
{
  Constraint* onVars = newConstraint(info, Ptint, graph);
  if (!onVars) {
    freeGraph(&graph);
    return false;
  }
  onVars->_destructor = cTintDestructor;
  auto* d = static_cast<RegularData*>(onVars->_data);
  for (int32_t k = 0; k < graph._size; k++)
    if (!_rcsAddConstraint(onVars, graph._vars[k], k))
      return false;
  Constraint* onStates = newConstraint(info, Pstate, StateRef{._owner = d});
  if (!onStates)
    return false;
  for (int32_t k = 1; k <= graph._size; k++)
    if (!_rcsAddConstraint(onStates, &graph._layers[k]._state, k))
      return false;
  return true;
}

/// Takes from the variables the symbols without an edge. A removal narrows other variables by way of the states, and
/// one that comes back to a variable that was passed waits for the next round.
static int PtintInitialize(const Unrolling& u)
{
  for (bool removed = true; removed;) {
    removed = false;
    for (int32_t k = 0; k < u._graph._size; k++) {
      const int32_t* nbLive = liveRow(u, k);
      for (Walk symbol = walkSymbols(u, k); advance(symbol);) {
        if (nbLive[symbol._value] > 0)
          continue;
        if (!rcsRemoveValue(u._graph._vars[k], symbol._value))
          return 0;
        removed = true;
        readAgain(symbol);
      }
    }
  }
  return 1;
}

static int doRegular(ConstraintInfo* info, const RegularData& input, const int* transitions, int32_t initial,
    const int* finals, int32_t nbFinals)
{
  Unrolling u = {
      ._graph = input, ._transitions = transitions, ._nbLive = nullptr, ._marked = nullptr, ._incoming = nullptr};
  bool unrolled = unroll(u, initial, finals, nbFinals);
  free(u._incoming);
  free(u._marked);
  if (!unrolled)
    freeGraph(&u._graph);
  int result = unrolled && attach(info, u._graph) && PtintInitialize(u);
  free(u._nbLive);
  return result;
}

static bool hasState(const int* states, int32_t count, int32_t nbStates)
{
  for (int32_t i = 0; i < count; i++)
    if (isState(states[i], nbStates))
      return true;
  return false;
}

int cs_Regular(CSint** variables, int n, const int* transitions, int nbStates, int nbSymbols, int initial,
    const int* finals, int nbFinals)
{
  if (n < 1)
    return 1;
  if (!hasState(finals, nbFinals, nbStates))
    return 0;
  // Before there is an info, and for good: also when it turns out that there is no word.
  for (int k = 0; k < n; k++)
    if (!rcsSetMin(variables[k], 0) || !rcsSetMax(variables[k], satSub(nbSymbols, 1)))
      return 0;
  return postAs("cs_Regular", [=](ConstraintInfo* info) {
    const RegularData input = {._size = n,
        ._nbStates = nbStates,
        ._nbSymbols = nbSymbols,
        ._vars = variables,
        ._layers = nullptr,
        ._symbolEdges = nullptr};
    return doRegular(info, input, transitions, initial, finals, nbFinals);
  });
}
