/*
 * The unary constraints, the six relations and cs_AllNeq against brute force.
 */
#include "bruteforce.h"

#include <algorithm>

using namespace kit;

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

static Row unary(const char* name, void (*draw)(Trial&), int (*post)(CSint*, const Values& p), Test holds)
{
  return {.name = name,
      .vars = {{.size = 9}},
      .prepare = draw,
      .post = [=](Trial& t) { return post(t.x[0], t.p); },
      .holds = holds,
      .strength = Strength::domain};
}

template <int (*request)(CSint*, int)>
static int one(CSint* x, const Values& p)
{
  return request(x, p[0]);
}

template <int (*request)(CSint*, const int*, int)>
static int array(CSint* x, const Values& p)
{
  return request(x, p.data(), int(p.size()));
}

template <int (*request)(CSint*, int, int)>
static int interval(CSint* x, const Values& p)
{
  return request(x, p[0], p[1]);
}

static const std::vector<Row> unaries = {
    unary("EQ", drawOne, one<cs_EQ>, [](auto& v, auto& p) { return v[0] == p[0]; }),
    unary("NEQ", drawOne, one<cs_NEQ>, [](auto& v, auto& p) { return v[0] != p[0]; }),
    unary("LE", drawOne, one<cs_LE>, [](auto& v, auto& p) { return v[0] <= p[0]; }),
    unary("GE", drawOne, one<cs_GE>, [](auto& v, auto& p) { return v[0] >= p[0]; }),
    unary("LT", drawOne, one<cs_LT>, [](auto& v, auto& p) { return v[0] < p[0]; }),
    unary("GT", drawOne, one<cs_GT>, [](auto& v, auto& p) { return v[0] > p[0]; }),
    unary("InArray", drawSome, array<cs_InArray>, [](auto& v, auto& p) { return listed(p, v[0]); }),
    unary("NotInArray", drawSome, array<cs_NotInArray>, [](auto& v, auto& p) { return !listed(p, v[0]); }),
    unary("InInterval", drawInterval, interval<cs_InInterval>,
        [](auto& v, auto& p) { return p[0] <= v[0] && v[0] <= p[1]; }),
    unary("NotInInterval", drawInterval, interval<cs_NotInInterval>,
        [](auto& v, auto& p) { return v[0] < p[0] || v[0] > p[1]; }),
};

static Row binary(const char* name, int (*post)(CSint*, CSint*), Test holds, Strength strength, Rule exact)
{
  return {.name = name,
      .vars = {{.count = {2, 2}, .size = 9}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .holds = holds,
      .strength = strength,
      .exact = exact};
}

static Rule swapped(Rule rule)
{
  return [=](const Sets& x, const Values& p) { return rule({x[1], x[0]}, p); };
}

static bool equal(const Values& v, const Values&) { return v[0] == v[1]; }
static bool unequal(const Values& v, const Values&) { return v[0] != v[1]; }
static bool atMost(const Values& v, const Values&) { return v[0] <= v[1]; }
static bool atLeast(const Values& v, const Values&) { return v[0] >= v[1]; }
static bool less(const Values& v, const Values&) { return v[0] < v[1]; }
static bool greater(const Values& v, const Values&) { return v[0] > v[1]; }

static const std::vector<Row> relations = {
    binary("Eq", cs_Eq, equal, Strength::domain, naive::eq),
    binary("Neq", cs_Neq, unequal, Strength::none, naive::neq),
    binary("Le", cs_Le, atMost, Strength::bounds, naive::le),
    binary("Ge", cs_Ge, atLeast, Strength::bounds, swapped(naive::le)),
    binary("Lt", cs_Lt, less, Strength::bounds, naive::lt),
    binary("Gt", cs_Gt, greater, Strength::bounds, swapped(naive::lt)),
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
