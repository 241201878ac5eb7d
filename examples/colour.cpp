/*
 * ku-colour: the smallest number of colours for the vertices of a graph, so that no edge joins two of one colour.
 *
 * The model: a variable for each vertex, and cs_Neq for each edge. It is built once, for as many colours as a greedy
 * colouring needs. Then the program goes down: for one colour less it saves a context, lowers all the maxima with
 * cs_LE, searches, and restores the context by its label. A clique gives the lower bound. When a search finds nothing,
 * or the clique's size is reached, the last colouring is optimal; when Ctrl-C or the time limit ends a search, the
 * answer is an interval.
 *
 * Symmetry: a colouring may be renamed. So the clique gets the colours 1, 2, 3, ..., and in a fixed order that begins
 * with the clique the vertex at position i needs no colour above i.
 */
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-colour [OPTION]... FILE...\n"
    "Finds the chromatic number of each graph, in DIMACS format: the smallest number of colours\n"
    "for its vertices, so that no edge joins two vertices of the same colour.\n"
    "\n"
    "  --show           print the colour of each vertex, too\n"
    "  --time SECONDS   give up a graph after this long, with the best bounds so far\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 a file was missing or malformed, 2 wrong usage, 3 a time limit ended\n"
    "a search, 130 Ctrl-C; the largest that applies.\n";

/* ---------------------------------------------------------------------------------------------------------------------
 * Graphs and their files
 *
 *     c a comment
 *     p edge <vertices> <edges>     first and once; "col" is accepted for "edge"
 *     e <vertex> <vertex>           vertices count from 1; an edge may be repeated, in either direction
 *
 * Lines that begin with n, d, v or x hold data for other problems and are skipped.
 * ------------------------------------------------------------------------------------------------------------------ */

struct Graph
{
  std::vector<std::vector<int>> neighbours; // of each vertex, ascending; vertices count from 0
  int edges = 0;

  int size() const { return static_cast<int>(neighbours.size()); }
  int degree(int v) const { return static_cast<int>(neighbours[v].size()); }
  bool joins(int v, int w) const { return std::binary_search(neighbours[v].begin(), neighbours[v].end(), w); }
};

// The driver takes a stack frame for each decision, so at worst one for each vertex: this many fit in 8 MiB.
static constexpr int mostVertices = 20000;

struct Malformed : std::runtime_error
{
  int line;
  Malformed(int at, const std::string& message) : std::runtime_error(message), line(at) {}
};

struct DimacsReader
{
  Graph graph;
  int line = 0;
  int announced = -1; // edges of the p line; -1 before it
  int read = 0;

  [[noreturn]] void fail(const std::string& message) const { throw Malformed(line, message); }

  void problem(std::istringstream& in)
  {
    std::string format, rest;
    int vertices = 0;
    if (announced >= 0)
      fail("a second p line");
    if (!(in >> format >> vertices >> announced) || in >> rest || (format != "edge" && format != "col"))
      fail("expected 'p edge <vertices> <edges>'");
    if (vertices < 0 || vertices > mostVertices)
      fail("the number of vertices must be from 0 to " + std::to_string(mostVertices));
    if (announced < 0)
      fail("the number of edges is negative");
    graph.neighbours.resize(static_cast<size_t>(vertices));
  }

  void edge(std::istringstream& in)
  {
    std::string rest;
    int v = 0, w = 0;
    if (announced < 0)
      fail("an edge before the p line");
    if (!(in >> v >> w) || in >> rest)
      fail("expected 'e <vertex> <vertex>'");
    for (int end : {v, w})
      if (end < 1 || end > graph.size())
        fail("vertex " + std::to_string(end) + " isn't one of 1 to " + std::to_string(graph.size()));
    if (v == w)
      fail("vertex " + std::to_string(v) + " is joined to itself: no colouring exists");
    graph.neighbours[v - 1].push_back(w - 1);
    graph.neighbours[w - 1].push_back(v - 1);
    read++;
  }

  void readLine(const std::string& text)
  {
    std::istringstream in(text);
    std::string kind;
    line++;
    if (!(in >> kind) || kind == "c")
      return;
    if (kind == "p")
      problem(in);
    else if (kind == "e")
      edge(in);
    else if (kind != "n" && kind != "d" && kind != "v" && kind != "x")
      fail("unknown kind of line '" + kind + "'");
  }

  void finish()
  {
    if (announced < 0)
      fail("no p line in the whole file");
    size_t ends = 0;
    for (auto& list : graph.neighbours) {
      std::sort(list.begin(), list.end());
      list.erase(std::unique(list.begin(), list.end()), list.end());
      ends += list.size();
    }
    graph.edges = static_cast<int>(ends / 2);
  }
};

static Graph readGraph(const std::string& file)
{
  std::ifstream in(file);
  if (!in)
    throw Malformed(0, "can't be opened");
  DimacsReader reader;
  for (std::string text; std::getline(in, text);)
    reader.readLine(text);
  if (in.bad())
    throw Malformed(0, "can't be read");
  reader.finish();
  // Some published files give the number before the doubled lines, or after: worth a word, but no reason to give up.
  if (reader.read != reader.announced && reader.graph.edges != reader.announced)
    complain({file}, "note: the p line announces " + plural(reader.announced, "edge", "edges") + ", the file has " +
                         std::to_string(reader.read));
  return std::move(reader.graph);
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Bounds without search
 * ------------------------------------------------------------------------------------------------------------------ */

using Colours = std::vector<int>; // of each vertex, from 1; 0: none yet

static std::vector<int> byDegree(const Graph& graph)
{
  std::vector<int> order(graph.neighbours.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int v, int w) { return graph.degree(v) > graph.degree(w); });
  return order;
}

// The largest of the cliques that grow from each vertex by taking the others in `order` where they fit.
static std::vector<int> greedyClique(const Graph& graph, const std::vector<int>& order)
{
  std::vector<int> rank(order.size()), best;
  for (size_t i = 0; i < order.size(); i++)
    rank[order[i]] = static_cast<int>(i);
  for (int first : order) {
    if (graph.degree(first) < static_cast<int>(best.size()) || caughtSignal)
      break;
    std::vector<int> clique{first}, candidates = graph.neighbours[first];
    std::sort(candidates.begin(), candidates.end(), [&](int v, int w) { return rank[v] < rank[w]; });
    for (int v : candidates)
      if (std::all_of(clique.begin(), clique.end(), [&](int w) { return graph.joins(v, w); }))
        clique.push_back(v);
    if (clique.size() > best.size())
      best = std::move(clique);
  }
  return best;
}

// Gives each vertex in turn the smallest colour that its neighbours leave.
static Colours greedyColouring(const Graph& graph, const std::vector<int>& order)
{
  Colours colours(order.size());
  std::vector<int> usedFor(order.size() + 2, -1); // the last vertex that found the colour taken
  for (int v : order) {
    for (int w : graph.neighbours[v])
      usedFor[colours[w]] = v;
    int colour = 1;
    while (usedFor[colour] == v)
      colour++;
    colours[v] = colour;
  }
  return colours;
}

static int count(const Colours& colours)
{
  return colours.empty() ? 0 : *std::max_element(colours.begin(), colours.end());
}

static bool isProper(const Graph& graph, const Colours& colours, int limit)
{
  for (int v = 0; v < graph.size(); v++) {
    if (colours[v] < 1 || colours[v] > limit)
      return false;
    for (int w : graph.neighbours[v])
      if (colours[v] == colours[w])
        return false;
  }
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Model and search
 * ------------------------------------------------------------------------------------------------------------------ */

struct Model
{
  std::vector<CSint*> vertex; // by number
  std::vector<CSint*> order;  // the clique first, then by degree: the search takes the first of equals
};

// Posting can't fail: the greedy colouring, with its colours renamed, is a solution of all that is posted here.
static Model buildModel(const Graph& graph, std::vector<int> order, const std::vector<int>& clique, int colours)
{
  std::stable_partition(
      order.begin(), order.end(), [&](int v) { return std::find(clique.begin(), clique.end(), v) != clique.end(); });
  Model model;
  for (int v = 0; v < graph.size(); v++)
    model.vertex.push_back(cs_createCSint(1, colours));
  for (int v : order) {
    model.order.push_back(model.vertex[v]);
    const auto position = static_cast<int>(model.order.size());
    if (position <= static_cast<int>(clique.size()))
      cs_EQ(model.vertex[v], position);
    else if (position < colours)
      cs_LE(model.vertex[v], position);
  }
  for (int v = 0; v < graph.size(); v++)
    for (int w : graph.neighbours[v])
      if (v < w)
        cs_Neq(model.vertex[v], model.vertex[w]);
  return model;
}

// Searches for a colouring with `limit` colours and reads it into `colours`. All is undone at the end: the label finds
// the right context, also under those that a solution has left.
static KuOutcome colourWith(KuRun& run, const Model& model, int limit, Colours& colours)
{
  KuOutcome outcome = KU_EXHAUSTED;
  std::vector<CSint*> order = model.order;
  const auto n = static_cast<int>(order.size());
  const int label = cs_saveContext();
  if (std::all_of(order.begin(), order.end(), [&](CSint* v) { return cs_LE(v, limit); }))
    outcome = ku_search(&run, order.data(), n, cs_findFreeVarNbElements);
  if (outcome == KU_SOLVED)
    std::transform(model.vertex.begin(), model.vertex.end(), colours.begin(), cs_getValue);
  cs_restoreContextUntil(label);
  return outcome;
}

struct Bounds
{
  int lower, upper;
  Colours colours;                  // a colouring with `upper` colours
  KuOutcome outcome = KU_EXHAUSTED; // of the last search
};

// Goes down from the greedy colouring until the bounds meet or the search is stopped.
static Bounds chromaticNumber(const Graph& graph)
{
  const std::vector<int> order = byDegree(graph);
  const std::vector<int> clique = greedyClique(graph, order);
  Bounds bounds{static_cast<int>(clique.size()), 0, greedyColouring(graph, order)};
  bounds.upper = count(bounds.colours);
  std::printf("  a clique of %d, a greedy colouring with %d\n", bounds.lower, bounds.upper);
  std::fflush(stdout);
  if (bounds.lower == bounds.upper)
    return bounds;

  const Model model = buildModel(graph, order, clique, bounds.upper);
  while (bounds.lower < bounds.upper && !isStopped(bounds.outcome)) {
    const int limit = bounds.upper - 1;
    const std::string title = plural(limit, "colour", "colours");
    KuRun run = newRun("  " + title);
    bounds.outcome = colourWith(run, model, limit, bounds.colours);
    const char* result = "stopped";
    if (bounds.outcome == KU_SOLVED) {
      bounds.upper = limit;
      result = "found";
    } else if (bounds.outcome == KU_EXHAUSTED) {
      bounds.lower = bounds.upper;
      result = "none";
    }
    std::printf("  %s: %s; %s\n", title.c_str(), result, cost(run).c_str());
    std::fflush(stdout);
  }
  return bounds;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Program
 * ------------------------------------------------------------------------------------------------------------------ */

static void printColours(const Colours& colours)
{
  for (size_t v = 0; v < colours.size(); v++)
    std::printf("%s%zu:%d", v % 12 == 0 ? v ? "\n  " : "  " : " ", v + 1, colours[v]);
  std::printf("%s", colours.empty() ? "" : "\n");
}

// Works on one file and returns the status.
static int colourFile(const std::string& file, double seconds, bool show)
{
  Graph graph;
  try {
    graph = readGraph(file);
  } catch (const Malformed& malformed) {
    complain({file, malformed.line}, malformed.what());
    return badInput;
  }
  std::printf("%s: %s, %s\n", file.c_str(), plural(graph.size(), "vertex", "vertices").c_str(),
      plural(graph.edges, "edge", "edges").c_str());
  std::fflush(stdout);

  cs_init();
  if (cs_getErr())
    outOfMemory("ku-colour");
  // Nothing here is profiled, and the default locator would walk the stack for each of the edges.
  cs_setProfilerLocator(
      "none", [](void*) -> const char* { return nullptr; }, nullptr);
  setTimeLimit(seconds);
  const Bounds bounds = chromaticNumber(graph);
  cs_end();

  if (!isProper(graph, bounds.colours, bounds.upper)) {
    std::fprintf(stderr, "ku-colour: %s: the colouring is WRONG, this is a fault of the program\n", file.c_str());
    std::abort();
  }
  if (bounds.lower == bounds.upper)
    std::printf("optimal: %s, verified\n", plural(bounds.upper, "colour", "colours").c_str());
  else
    std::printf("%s: from %d to %d colours, the colouring with %d verified\n", stoppedText(bounds.outcome),
        bounds.lower, bounds.upper, bounds.upper);
  if (show)
    printColours(bounds.colours);
  std::printf("\n");
  std::fflush(stdout);
  return worse(done, bounds.outcome);
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-colour", usage);
  const bool show = arguments.flag("--show");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.empty())
    arguments.fail("no file is given");

  catchInterrupts();
  int status = done;
  for (const std::string& file : files)
    if (!caughtSignal)
      status = std::max(status, colourFile(file, seconds, show));
  return worse(status, KU_EXHAUSTED);
}
