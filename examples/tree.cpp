/*
 * ku-tree: draws the tree of a search, as a client hears of it from the driver's notifications.
 *
 * The problem is n queens, all placements. Each decision is a node: green where a placement was found, red where it
 * failed at once, grey where the search went on below it. The page is SVG and needs nothing but a browser.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-tree [OPTION]... N PAGE\n"
    "Draws the search for all placements of N queens into the SVG file PAGE.\n"
    "\n"
    "  --split          halve the domains in place of trying value by value\n"
    "  --time SECONDS   give up after this long; what has been seen is drawn\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the page can't be written, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

struct Node
{
  int parent, level;
  std::string decision; // as it stands in the page
  const char* colour;
  double x = 0;
};

static std::vector<Node> tree = {{-1, -1, "", "#888", 0}};
static std::vector<int> branch = {0}; // the nodes from the root to the last decision
static long long placements, failures;

static void addNode(int success, int level, int position, const ValueSelection* selection, CSint**, int, void*)
{
  static const char* const relations[] = {"=", "&#8800;", "&#8804;", "&lt;", "&#8805;", "&gt;"};
  branch.resize(static_cast<size_t>(level) + 1);
  tree.push_back({branch.back(), level,
      "x" + std::to_string(position) + " " + relations[selection->method] + " " + std::to_string(selection->value),
      success ? "#888" : "#c8442f"});
  branch.push_back(static_cast<int>(tree.size()) - 1);
  failures += !success;
}

static int countPlacement(int level, CSint**, int, void*)
{
  placements++;
  branch.resize(static_cast<size_t>(level) + 2);
  tree[static_cast<size_t>(branch.back())].colour = "#2a9d4a";
  return 0; // goes on to the next one
}

static int firstFree(CSint** columns, int n)
{
  CSint* v = cs_findFreeVar(columns, n);
  return v ? static_cast<int>(std::find(columns, columns + n, v) - columns) : -1;
}

static bool buildModel(std::vector<CSint*>& column)
{
  static std::vector<CSint*> rising, falling;
  const int n = static_cast<int>(column.size());
  for (int i = 0; i < n; i++) {
    column[static_cast<size_t>(i)] = cs_createCSint(0, n - 1);
    rising.push_back(cs_Add(column[static_cast<size_t>(i)], CSINT(i)));
    falling.push_back(cs_Sub(column[static_cast<size_t>(i)], CSINT(i)));
  }
  return cs_AllNeq(column.data(), n) && cs_AllNeq(rising.data(), n) && cs_AllNeq(falling.data(), n);
}

// Leaves stand side by side in the order of the search, and every other node over the middle of its children. Children
// come behind their parents in the list.
static double layOut()
{
  struct Span
  {
    double first = 0, last = 0;
    bool any = false;
  };
  std::vector<Span> below(tree.size());
  std::vector<int> nbChildren(tree.size(), 0);
  for (size_t i = 1; i < tree.size(); i++)
    nbChildren[static_cast<size_t>(tree[i].parent)]++;
  double width = 0;
  for (size_t i = 0; i < tree.size(); i++)
    if (!nbChildren[i])
      tree[i].x = width++;
  for (size_t i = tree.size(); i-- > 0;) {
    if (nbChildren[i])
      tree[i].x = (below[i].first + below[i].last) / 2;
    if (i == 0)
      break;
    Span& up = below[static_cast<size_t>(tree[i].parent)];
    if (!up.any)
      up.last = tree[i].x;
    up.first = tree[i].x;
    up.any = true;
  }
  return width;
}

static void draw(FILE* out)
{
  constexpr double dx = 12, dy = 40, margin = 20;
  const double width = layOut();
  int depth = 0;
  for (const Node& node : tree)
    depth = std::max(depth, node.level + 1);
  const auto x = [&](const Node& node) { return margin + dx * node.x; };
  const auto y = [&](const Node& node) { return margin + dy * (node.level + 1); };
  std::fprintf(out,
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" font-family=\"sans-serif\">\n"
      "<g stroke=\"#bbb\">\n",
      2 * margin + dx * width, 2 * margin + dy * depth);
  for (size_t i = 1; i < tree.size(); i++) {
    const Node& up = tree[static_cast<size_t>(tree[i].parent)];
    std::fprintf(
        out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>\n", x(up), y(up), x(tree[i]), y(tree[i]));
  }
  std::fputs("</g>\n", out);
  for (const Node& node : tree)
    std::fprintf(out, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"%s\"><title>%s</title></circle>\n", x(node),
        y(node), node.colour, node.decision.c_str());
  std::fputs("</svg>\n", out);
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-tree", usage);
  const bool split = arguments.flag("--split");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> words = arguments.files();
  if (words.size() != 2)
    arguments.fail("N and PAGE are wanted");
  const int n = arguments.toNumber("N", words[0], 1, 10);
  startSolver("ku-tree", seconds);
  std::vector<CSint*> column(static_cast<size_t>(n));
  const bool possible = buildModel(column);
  std::vector<ValueSelector*> selectors(column.size(), cs_getValueSelector(split ? CS_LOWER_AND_UPPER : CS_MIN_TO_MAX));
  SearchNotify* notify = cs_createSearchNotify(nullptr);
  cs_searchNotifySetAfterValueSelection(notify, addNode);
  cs_searchNotifySetFound(notify, countPlacement);
  KuRun run = newRun(words[0] + " queens");
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_searchValueSelector(&run, column.data(), selectors.data(), n, firstFree, notify);
  cs_freeSearchNotify(notify);
  int status = worse(done, outcome);
  FILE* page = std::fopen(words[1].c_str(), "w");
  if (page)
    draw(page);
  if (!page || std::ferror(page) + std::fclose(page) != 0) {
    complain({words[1]}, "can't be written");
    status = std::max<int>(status, badInput);
  }
  if (isStopped(outcome))
    std::printf("%s: ", stoppedText(outcome));
  std::printf("%s, %s, %s\n", plural(static_cast<long long>(tree.size()) - 1, "decision", "decisions").c_str(),
      plural(failures, "failure", "failures").c_str(), plural(placements, "placement", "placements").c_str());
  cs_end();
  return status;
}
