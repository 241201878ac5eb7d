/*
 * The unary constraints, the six relations and cs_AllNeq against brute force.
 */
#include "bruteforce.h"

#include <algorithm>

using namespace kit;

using Compare = std::function<bool(int, int)>;

static bool listed(const Values& p, int x) { return std::find(p.begin(), p.end(), x) != p.end(); }

static bool different(const Values& v, const Values&)
{
  Set seen(v.begin(), v.end());
  return seen.size() == v.size();
}

static void drawOne(Trial& t) { t.p = t.pick(1, -7, 8); }
static void drawSome(Trial& t) { t.p = t.pick(t.random.pick(0, 7), -7, 8); }
static void drawInterval(Trial& t)
{
  t.p = t.pick(2, -7, 8);
  if (t.random.chance(70))
    std::sort(t.p.begin(), t.p.end());
}

static Row unary(
    const char* name, void (*draw)(Trial&), std::function<int(CSint*, const Values&)> post, const Test& holds)
{
  return {.name = name,
      .vars = {{.size = 9}},
      .prepare = draw,
      .post = [=](Trial& t) { return post(t.x[0], t.p); },
      .holds = holds,
      .strength = Strength::domain};
}

static Row comparison(const char* name, int (*post)(CSint*, int), const Compare& compare)
{
  return unary(
      name, drawOne, [=](CSint* x, const Values& p) { return post(x, p[0]); },
      [=](auto& v, auto& p) { return compare(v[0], p[0]); });
}

static const std::vector<Row> unaries = {
    comparison("EQ", cs_EQ, std::equal_to<int>()),
    comparison("NEQ", cs_NEQ, std::not_equal_to<int>()),
    comparison("LE", cs_LE, std::less_equal<int>()),
    comparison("GE", cs_GE, std::greater_equal<int>()),
    comparison("LT", cs_LT, std::less<int>()),
    comparison("GT", cs_GT, std::greater<int>()),
    unary(
        "InArray", drawSome, [](CSint* x, auto& p) { return cs_InArray(x, p.data(), int(p.size())); },
        [](auto& v, auto& p) { return listed(p, v[0]); }),
    unary(
        "NotInArray", drawSome, [](CSint* x, auto& p) { return cs_NotInArray(x, p.data(), int(p.size())); },
        [](auto& v, auto& p) { return !listed(p, v[0]); }),
    unary(
        "InInterval", drawInterval, [](CSint* x, auto& p) { return cs_InInterval(x, p[0], p[1]); },
        [](auto& v, auto& p) { return p[0] <= v[0] && v[0] <= p[1]; }),
    unary(
        "NotInInterval", drawInterval, [](CSint* x, auto& p) { return cs_NotInInterval(x, p[0], p[1]); },
        [](auto& v, auto& p) { return v[0] < p[0] || v[0] > p[1]; }),
};

static Row binary(
    const char* name, int (*post)(CSint*, CSint*), const Compare& compare, Strength strength, const Rule& exact)
{
  return {.name = name,
      .vars = {{.count = {2, 2}, .size = 9}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .holds = [=](auto& v, auto&) { return compare(v[0], v[1]); },
      .strength = strength,
      .exact = exact};
}

static const std::vector<Row> relations = {
    binary("Eq", cs_Eq, std::equal_to<int>(), Strength::domain, naive::eq),
    binary("Neq", cs_Neq, std::not_equal_to<int>(), Strength::none, naive::neq),
    binary("Le", cs_Le, std::less_equal<int>(), Strength::bounds, naive::le),
    binary("Ge", cs_Ge, std::greater_equal<int>(), Strength::bounds, naive::swapped(naive::le)),
    binary("Lt", cs_Lt, std::less<int>(), Strength::bounds, naive::lt),
    binary("Gt", cs_Gt, std::greater<int>(), Strength::bounds, naive::swapped(naive::lt)),
    // Several on the same variables, so that what a handler changes waits in the queue for the others.
    {.name = "EqChain",
        .vars = {{.count = {4, 4}, .values = {-2, 4}}},
        .post = [](Trial& t) { return cs_Eq(t.x[0], t.x[1]) && cs_Eq(t.x[1], t.x[2]) && cs_Eq(t.x[2], t.x[3]); },
        .holds = [](auto& v, auto&) { return v[0] == v[1] && v[1] == v[2] && v[2] == v[3]; },
        .strength = Strength::domain},
    {.name = "OrderChain",
        .vars = {{.count = {4, 4}}},
        .post = [](Trial& t) { return cs_Lt(t.x[0], t.x[1]) && cs_Ge(t.x[2], t.x[1]) && cs_Neq(t.x[2], t.x[3]); },
        .holds = [](auto& v, auto&) { return v[0] < v[1] && v[1] <= v[2] && v[2] != v[3]; },
        .exact =
            [](const Sets& x, const Values& p) {
              return naive::lt({x[0], x[1]}, p) && naive::le({x[1], x[2]}, p) && naive::neq({x[2], x[3]}, p);
            }},
    {.name = "TwoAllNeq",
        .vars = {{.count = {4, 4}, .twice = 0}},
        .post = [](Trial& t) { return cs_AllNeq(t.x.data(), 3) && cs_AllNeq(t.x.data() + 1, 3); },
        .holds =
            [](auto& v, auto& p) {
              return different({v[0], v[1], v[2]}, p) && different({v[1], v[2], v[3]}, p);
            }},
    // A variable that stands twice isn't noticed once the constraint is posted, so none is drawn.
    {.name = "AllNeq",
        .vars = {{.count = {1, 5}, .twice = 0}},
        .post = [](Trial& t) { return cs_AllNeq(t.x.data(), int(t.x.size())); },
        .holds = different},
};

static const int rows = bruteForce("Unary", unaries) + bruteForce("Relation", relations);
