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

using Unary = int (*)(CSint*, int);

static Row unary(const char* name, Unary post, Test holds)
{
  return {.name = name,
      .vars = {{.size = 9}},
      .prepare = drawOne,
      .post = [=](Trial& t) { return post(t.x[0], t.p[0]); },
      .holds = holds,
      .strength = Strength::domain};
}

static const auto unaries =
    bruteForce("Unary", {
                            unary("EQ", cs_EQ, [](auto& v, auto& p) { return v[0] == p[0]; }),
                            unary("NEQ", cs_NEQ, [](auto& v, auto& p) { return v[0] != p[0]; }),
                            unary("LE", cs_LE, [](auto& v, auto& p) { return v[0] <= p[0]; }),
                            unary("GE", cs_GE, [](auto& v, auto& p) { return v[0] >= p[0]; }),
                            unary("LT", cs_LT, [](auto& v, auto& p) { return v[0] < p[0]; }),
                            unary("GT", cs_GT, [](auto& v, auto& p) { return v[0] > p[0]; }),
                            {.name = "InArray",
                                .vars = {{.size = 9}},
                                .prepare = drawSome,
                                .post = [](Trial& t) { return cs_InArray(t.x[0], t.p.data(), int(t.p.size())); },
                                .holds = [](auto& v, auto& p) { return listed(p, v[0]); },
                                .strength = Strength::domain},
                            {.name = "NotInArray",
                                .vars = {{.size = 9}},
                                .prepare = drawSome,
                                .post = [](Trial& t) { return cs_NotInArray(t.x[0], t.p.data(), int(t.p.size())); },
                                .holds = [](auto& v, auto& p) { return !listed(p, v[0]); },
                                .strength = Strength::domain},
                            {.name = "InInterval",
                                .vars = {{.size = 9}},
                                .prepare = drawInterval,
                                .post = [](Trial& t) { return cs_InInterval(t.x[0], t.p[0], t.p[1]); },
                                .holds = [](auto& v, auto& p) { return p[0] <= v[0] && v[0] <= p[1]; },
                                .strength = Strength::domain},
                            {.name = "NotInInterval",
                                .vars = {{.size = 9}},
                                .prepare = drawInterval,
                                .post = [](Trial& t) { return cs_NotInInterval(t.x[0], t.p[0], t.p[1]); },
                                .holds = [](auto& v, auto& p) { return v[0] < p[0] || v[0] > p[1]; },
                                .strength = Strength::domain},
                        });

using Binary = int (*)(CSint*, CSint*);

static Row binary(const char* name, Binary post, Test holds, Strength strength, Rule exact)
{
  return {.name = name,
      .vars = {{.count = {2, 2}, .size = 9}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .holds = holds,
      .strength = strength,
      .exact = exact};
}

// The rule for the arguments the other way round.
static Rule swapped(Rule rule)
{
  return [=](const Sets& x, const Values& p) { return rule({x[1], x[0]}, p); };
}

static const auto relations = bruteForce(
    "Relation", {
                    binary(
                        "Eq", cs_Eq, [](auto& v, auto&) { return v[0] == v[1]; }, Strength::domain, naive::eq),
                    binary(
                        "Neq", cs_Neq, [](auto& v, auto&) { return v[0] != v[1]; }, Strength::none, naive::neq),
                    binary(
                        "Le", cs_Le, [](auto& v, auto&) { return v[0] <= v[1]; }, Strength::bounds, naive::le),
                    binary(
                        "Ge", cs_Ge, [](auto& v, auto&) { return v[0] >= v[1]; }, Strength::bounds, swapped(naive::le)),
                    binary(
                        "Lt", cs_Lt, [](auto& v, auto&) { return v[0] < v[1]; }, Strength::bounds, naive::lt),
                    binary(
                        "Gt", cs_Gt, [](auto& v, auto&) { return v[0] > v[1]; }, Strength::bounds, swapped(naive::lt)),
                    {.name = "AllNeq",
                        .vars = {{.count = {1, 5}, .twice = 0}},
                        .post = [](Trial& t) { return cs_AllNeq(t.x.data(), int(t.x.size())); },
                        .holds = different},
                });
