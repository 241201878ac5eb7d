/*
 * make-graphs: writes the graphs of examples/data/ in DIMACS format, from their definitions. A test compares the files
 * in the tree with what this program writes.
 */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

struct Graph
{
  int vertices = 0;
  std::vector<std::pair<int, int>> edges; // vertices count from 1
};

// Squares of an n by n board, row after row; two are joined when a queen goes from one to the other in a move.
static Graph queens(int n)
{
  Graph graph{n * n, {}};
  for (int a = 0; a < n * n; a++)
    for (int b = a + 1; b < n * n; b++) {
      const int rows = b / n - a / n, columns = std::abs(b % n - a % n);
      if (rows == 0 || columns == 0 || rows == columns)
        graph.edges.emplace_back(a + 1, b + 1);
    }
  return graph;
}

// Mycielski's construction: a copy of each vertex, joined to the neighbours of the original, and one vertex more,
// joined to all copies. It makes no triangle, and the chromatic number rises by one.
static Graph mycielskian(const Graph& graph)
{
  const int n = graph.vertices;
  Graph result{2 * n + 1, graph.edges};
  for (auto [v, w] : graph.edges) {
    result.edges.emplace_back(v, n + w);
    result.edges.emplace_back(w, n + v);
  }
  for (int v = 1; v <= n; v++)
    result.edges.emplace_back(n + v, 2 * n + 1);
  return result;
}

// The order k graph of the family has chromatic number k + 1; the order 1 graph is a single edge.
static Graph mycielski(int order) { return order == 1 ? Graph{2, {{1, 2}}} : mycielskian(mycielski(order - 1)); }

// Two rings of five, the inner one a pentagram, joined by spokes.
static Graph petersen()
{
  Graph graph{10, {}};
  for (int i = 0; i < 5; i++) {
    graph.edges.emplace_back(i + 1, (i + 1) % 5 + 1);
    graph.edges.emplace_back(i + 1, i + 6);
    graph.edges.emplace_back(i + 6, (i + 2) % 5 + 6);
  }
  return graph;
}

static Graph completeBipartite(int left, int right)
{
  Graph graph{left + right, {}};
  for (int v = 1; v <= left; v++)
    for (int w = 1; w <= right; w++)
      graph.edges.emplace_back(v, left + w);
  return graph;
}

// A map as words: each line is a place and those of its neighbours that have no line of their own above it.
static Graph map(const char* text, std::string& legend)
{
  std::map<std::string, int> number;
  std::vector<std::pair<std::string, std::string>> borders;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string place, other;
    words >> place;
    number[place];
    while (words >> other) {
      number[other];
      borders.emplace_back(place, other);
    }
  }
  Graph graph;
  for (auto& [place, n] : number) {
    n = ++graph.vertices;
    legend += "\nc " + std::to_string(n) + ' ' + place;
  }
  for (auto& [place, other] : borders)
    graph.edges.emplace_back(number[place], number[other]);
  return graph;
}

// States of the USA without Alaska and Hawaii, with the District of Columbia. A common corner is no border.
static const char* const unitedStates = "AL FL GA MS TN\n"
                                        "AR LA MO MS OK TN TX\n"
                                        "AZ CA NM NV UT\n"
                                        "CA NV OR\n"
                                        "CO KS NE NM OK UT WY\n"
                                        "CT MA NY RI\n"
                                        "DC MD VA\n"
                                        "DE MD NJ PA\n"
                                        "FL GA\n"
                                        "GA NC SC TN\n"
                                        "IA IL MN MO NE SD WI\n"
                                        "ID MT NV OR UT WA WY\n"
                                        "IL IN KY MO WI\n"
                                        "IN KY MI OH\n"
                                        "KS MO NE OK\n"
                                        "KY MO OH TN VA WV\n"
                                        "LA MS TX\n"
                                        "MA NH NY RI VT\n"
                                        "MD PA VA WV\n"
                                        "ME NH\n"
                                        "MI OH WI\n"
                                        "MN ND SD WI\n"
                                        "MO NE OK TN\n"
                                        "MS TN\n"
                                        "MT ND SD WY\n"
                                        "NC SC TN VA\n"
                                        "ND SD\n"
                                        "NE SD WY\n"
                                        "NH VT\n"
                                        "NJ NY PA\n"
                                        "NM OK TX\n"
                                        "NV OR UT\n"
                                        "NY PA VT\n"
                                        "OH PA WV\n"
                                        "OK TX\n"
                                        "OR WA\n"
                                        "PA WV\n"
                                        "SD WY\n"
                                        "TN VA\n"
                                        "UT WY\n"
                                        "VA WV\n";

struct File
{
  std::string name;
  std::string comment;
  Graph graph;
};

static bool write(const std::string& folder, File file)
{
  const std::string path = folder + '/' + file.name + ".col";
  std::FILE* out = std::fopen(path.c_str(), "w");
  if (!out) {
    std::perror(path.c_str());
    return false;
  }
  std::vector<std::pair<int, int>>& edges = file.graph.edges;
  std::sort(edges.begin(), edges.end());
  std::fprintf(out, "c %s\np edge %d %zu\n", file.comment.c_str(), file.graph.vertices, edges.size());
  for (auto [v, w] : edges)
    std::fprintf(out, "e %d %d\n", v, w);
  const bool written = !std::ferror(out);
  return std::fclose(out) == 0 && written;
}

int main(int argc, char** argv)
{
  if (argc != 2) {
    std::fprintf(stderr, "Usage: make-graphs FOLDER\nWrites the example graphs into FOLDER.\n");
    return 2;
  }

  std::vector<File> files;
  for (int n : {5, 6, 7, 8, 10}) {
    const std::string side = std::to_string(n);
    files.push_back({"queen" + side + '_' + side, "Queen moves on a board of " + side + " by " + side, queens(n)});
  }
  for (int order : {3, 4, 5}) {
    const std::string number = std::to_string(order);
    files.push_back({"myciel" + number, "Mycielski graph of order " + number, mycielski(order)});
  }
  files.push_back({"petersen", "The Petersen graph", petersen()});
  files.push_back({"bipartite7_9", "The complete bipartite graph of 7 and 9 vertices", completeBipartite(7, 9)});
  std::string legend = "Borders of the contiguous states of the USA and the District of Columbia";
  const Graph states = map(unitedStates, legend);
  files.push_back({"usa", legend, states});

  for (const File& file : files)
    if (!write(argv[1], file))
      return 1;
  return 0;
}
