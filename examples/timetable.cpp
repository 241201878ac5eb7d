/*
 * ku-timetable: gives lessons their hours so that as many wishes as possible come true.
 *
 * The model: the hour of each lesson. What has to hold is posted plainly: a teacher has one lesson at a time, and no
 * more lessons run at once than there are rooms, counted with a boolean for each lesson and hour (cs_ReifEQ). What is
 * only wished for is posted in its reified form, which makes a boolean that tells whether it holds; the sum of these is
 * what the program raises, search by search.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-timetable [OPTION]... FILE\n"
                            "Gives the lessons in FILE their hours so that as many wishes as possible come true.\n"
                            "\n"
                            "  hours N                 the day has the hours 1 to N\n"
                            "  rooms N                 so many lessons may run at once\n"
                            "  lesson NAME TEACHER\n"
                            "  wish NAME before N      also: after N, at N, not N\n"
                            "  wish NAME before OTHER  also: after OTHER, with OTHER\n"
                            "\n"
                            "Blank lines and lines that begin with '#' are skipped.\n"
                            "\n"
                            "  --time SECONDS          give up after this long, with the best table so far\n"
                            "  --help                  print this text\n"
                            "\n"
                            "Exit status: 0 done, 1 the file was missing or malformed or has no timetable, 2 wrong\n"
                            "usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

struct Wish
{
  std::string text, relation;
  size_t lesson;
  bool toOther;
  int number;   // an hour, or
  size_t other; // another lesson
};

struct Day
{
  int hours = 0, rooms = 0;
  std::vector<std::string> lessons, teachers;
  std::vector<Wish> wishes;

  size_t lessonNamed(const std::string& name) const
  {
    return static_cast<size_t>(std::find(lessons.begin(), lessons.end(), name) - lessons.begin());
  }
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Input
 * ------------------------------------------------------------------------------------------------------------------ */

static std::string readWish(std::istringstream& words, const std::string& line, Day& day)
{
  std::string name, target;
  const size_t text = line.find_first_not_of(" \t", line.find("wish") + 4);
  Wish wish = {line.substr(std::min(text, line.size())), "", 0, false, 0, 0};
  if (!(words >> name >> wish.relation >> target))
    return "expected 'wish NAME RELATION TARGET'";
  wish.lesson = day.lessonNamed(name);
  if (wish.lesson == day.lessons.size())
    return "there is no lesson '" + name + "' above";
  const char* end = target.data() + target.size();
  const auto [stop, error] = std::from_chars(target.data(), end, wish.number);
  wish.toOther = error != std::errc() || stop != end;
  if (wish.toOther && (wish.other = day.lessonNamed(target)) == day.lessons.size())
    return "'" + target + "' is neither an hour nor a lesson above";
  const std::vector<std::string> known = wish.toOther ? std::vector<std::string>{"before", "after", "with"}
                                                      : std::vector<std::string>{"before", "after", "at", "not"};
  if (std::find(known.begin(), known.end(), wish.relation) == known.end())
    return "'" + wish.relation + "' can't be wished for here";
  day.wishes.push_back(wish);
  return "";
}

/* What is wrong with the line, or nothing. */
static std::string readLine(const std::string& line, Day& day)
{
  std::istringstream words(line);
  std::string kind, name, teacher, rest;
  words >> kind;
  std::string wrong;
  if (kind == "hours" || kind == "rooms") {
    int& number = kind == "hours" ? day.hours : day.rooms;
    if (!(words >> number) || number < 1 || number > 1000)
      wrong = "expected a number from 1 to 1000";
  } else if (kind == "lesson") {
    if (!(words >> name >> teacher))
      wrong = "expected 'lesson NAME TEACHER'";
    else if (day.lessonNamed(name) != day.lessons.size())
      wrong = "a second lesson '" + name + "'";
    day.lessons.push_back(name);
    day.teachers.push_back(teacher);
  } else if (kind == "wish") {
    wrong = readWish(words, line, day);
  } else {
    wrong = "expected hours, rooms, lesson or wish";
  }
  return wrong.empty() && words >> rest ? "too many words" : wrong;
}

static bool read(const std::string& file, Day& day)
{
  if (!readLines(file, [&](const std::string& line) { return readLine(line, day); }))
    return false;
  if (!day.hours || !day.rooms || day.lessons.empty())
    return complain({file}, "needs hours, rooms and at least one lesson"), false;
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Model
 * ------------------------------------------------------------------------------------------------------------------ */

static std::vector<CSint*> hour, granted;
static std::vector<std::vector<CSint*>> runsAt; // for each hour a boolean for each lesson

static CSint* reify(const Wish& wish)
{
  CSint* x = hour[wish.lesson];
  if (wish.toOther) {
    CSint* y = hour[wish.other];
    return wish.relation == "before" ? cs_ReifLt(x, y) : wish.relation == "after" ? cs_ReifGt(x, y) : cs_ReifEq(x, y);
  }
  const int n = wish.number;
  return wish.relation == "before"  ? cs_ReifLT(x, n)
         : wish.relation == "after" ? cs_ReifGT(x, n)
         : wish.relation == "at"    ? cs_ReifEQ(x, n)
                                    : cs_ReifNEQ(x, n);
}

static bool buildModel(const Day& day)
{
  const int n = static_cast<int>(day.lessons.size());
  for (const std::string& name : day.lessons)
    hour.push_back(cs_createNamedCSint(1, day.hours, name.c_str()));
  for (size_t i = 0; i < hour.size(); i++)
    for (size_t j = i + 1; j < hour.size(); j++)
      if (day.teachers[i] == day.teachers[j] && !cs_Neq(hour[i], hour[j]))
        return false;
  runsAt.resize(static_cast<size_t>(day.hours));
  for (int h = 1; h <= day.hours; h++) {
    std::vector<CSint*>& here = runsAt[static_cast<size_t>(h - 1)];
    for (CSint* lesson : hour)
      here.push_back(cs_ReifEQ(lesson, h));
    if (!cs_LE(cs_Sigma(here.data(), n), day.rooms))
      return false;
  }
  for (const Wish& wish : day.wishes)
    granted.push_back(reify(wish));
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * The best table
 * ------------------------------------------------------------------------------------------------------------------ */

struct Table
{
  std::vector<int> hours;
  std::vector<bool> granted;
};

static void show(const Day& day, const Table& table)
{
  for (int h = 1; h <= day.hours; h++) {
    std::printf("%4d ", h);
    for (size_t i = 0; i < day.lessons.size(); i++)
      if (table.hours[i] == h)
        std::printf(" %s (%s)", day.lessons[i].c_str(), day.teachers[i].c_str());
    std::putchar('\n');
  }
  for (size_t i = 0; i < day.wishes.size(); i++)
    std::printf("  %s %s\n", table.granted[i] ? "granted:" : "denied: ", day.wishes[i].text.c_str());
}

static int solve(const std::string& file, const Day& day)
{
  const int wishes = static_cast<int>(day.wishes.size());
  const bool possible = buildModel(day);
  CSint* sum = cs_Sigma(granted.data(), wishes);
  Table best;
  int count = -1;
  auto found = [&] {
    best = {};
    for (const CSint* h : hour)
      best.hours.push_back(cs_getValue(h));
    for (const CSint* g : granted)
      best.granted.push_back(cs_getValue(g) != 0);
    count = cs_getValue(sum);
  };
  KuRun total = {};
  const KuOutcome outcome = possible ? maximize(file, hour, cs_findFreeVarNbElements, sum, total, found) : KU_EXHAUSTED;

  if (count < 0) {
    std::printf("%s\n", isStopped(outcome) ? stoppedText(outcome) : "there is no timetable");
    return worse(isStopped(outcome) ? done : badInput, outcome);
  }
  show(day, best);
  std::printf("%s: %d of %s granted; %s\n", isStopped(outcome) ? stoppedText(outcome) : "optimal", count,
      plural(wishes, "wish", "wishes").c_str(), cost(total).c_str());
  return worse(done, outcome);
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-timetable", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one file is wanted");
  Day day;
  if (!read(files[0], day))
    return badInput;
  startSolver("ku-timetable", seconds);
  const int status = solve(files[0], day);
  cs_end();
  return status;
}
