/*
 * ku-project: when do the tasks of a project start, with so many people at hand?
 *
 * The model: the start of each task. cs_Cumulative keeps the people that the running tasks need within the capacity,
 * cs_Le puts a task behind those that it waits for, and the latest end is what cs_minimize lowers.
 *
 * cs_Cumulative may pass over a schedule, so what is printed as the best is the best that it lets through.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-project [OPTION]... FILE\n"
    "Finds a schedule for the project in FILE that ends as early as can be, and draws it.\n"
    "\n"
    "  capacity N                              people at hand\n"
    "  task NAME DAYS PEOPLE [after NAME ...]  names stand above before they are waited for\n"
    "\n"
    "Blank lines and lines that begin with '#' are skipped.\n"
    "\n"
    "  --time SECONDS   give up after this long, with the best schedule so far\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

struct Task
{
  std::string name;
  int days = 0, people = 0;
  std::vector<size_t> after;
};

struct Project
{
  int capacity = 0, days = 0; // of all tasks one behind the other
  std::vector<Task> tasks;
};

static std::string readTask(std::istringstream& words, Project& project)
{
  const auto find = [&](const std::string& name) {
    return static_cast<size_t>(std::find_if(project.tasks.begin(), project.tasks.end(), [&](const Task& t) {
      return t.name == name;
    }) - project.tasks.begin());
  };
  Task task;
  if (!(words >> task.name >> task.days >> task.people) || task.days < 0 || task.days > 1000 || task.people < 0)
    return "expected 'task NAME DAYS PEOPLE'";
  if (find(task.name) < project.tasks.size())
    return "a second task '" + task.name + "'";
  std::string word;
  if (words >> word) {
    if (word != "after")
      return "expected 'after', not '" + word + "'";
    while (words >> word) {
      task.after.push_back(find(word));
      if (task.after.back() == project.tasks.size())
        return "there is no task '" + word + "' above";
    }
  }
  project.days += task.days;
  project.tasks.push_back(task);
  return "";
}

static bool read(const std::string& file, Project& project)
{
  const bool good = readLines(file, [&](const std::string& line) -> std::string {
    std::istringstream words(line);
    std::string kind, rest;
    words >> kind;
    if (kind == "task")
      return readTask(words, project);
    const bool told = kind == "capacity" && words >> project.capacity && project.capacity >= 1 && !(words >> rest);
    return told ? "" : "expected 'capacity N' or a task";
  });
  if (!good)
    return false;
  if (!project.capacity || project.tasks.empty())
    return complain({file}, "needs a capacity and at least one task"), false;
  return true;
}

static std::vector<CSint*> start, days, people, ends;
static CSint* finish;

static bool buildModel(const Project& project)
{
  for (const Task& task : project.tasks) {
    start.push_back(cs_createCSint(0, project.days - task.days));
    days.push_back(CSINT(task.days));
    people.push_back(CSINT(task.people));
    ends.push_back(cs_Add(start.back(), days.back()));
    for (const size_t before : task.after)
      if (!cs_Le(ends[before], start.back()))
        return false;
  }
  const int n = static_cast<int>(start.size());
  finish = cs_Max(ends.data(), n);
  return finish && cs_Cumulative(start.data(), days.data(), people.data(), n, CSINT(project.capacity));
}

// The free start that may come first; of equals the first.
static CSint* earliest(CSint** variables, int n)
{
  CSint* best = nullptr;
  for (int i = 0; i < n; i++)
    if (!cs_isInstantiated(variables[i]) && (!best || cs_getMin(variables[i]) < cs_getMin(best)))
      best = variables[i];
  return best;
}

static std::vector<int> begins;
static int bestFinish = -1;

static void keep(CSint** variables, int n, CSint* cost)
{
  bestFinish = cs_getMin(cost);
  begins.clear();
  for (int i = 0; i < n; i++)
    begins.push_back(cs_getValue(variables[i]));
}

static bool runs(const Project& project, size_t i, int day)
{
  return begins[i] <= day && day < begins[i] + project.tasks[i].days;
}

// Checked without the solver.
static bool isSchedule(const Project& project)
{
  for (int day = 0; day < bestFinish; day++) {
    int busy = 0;
    for (size_t i = 0; i < begins.size(); i++)
      busy += runs(project, i, day) ? project.tasks[i].people : 0;
    if (busy > project.capacity)
      return false;
  }
  for (size_t i = 0; i < begins.size(); i++) {
    if (begins[i] + project.tasks[i].days > bestFinish)
      return false;
    for (const size_t before : project.tasks[i].after)
      if (begins[before] + project.tasks[before].days > begins[i])
        return false;
  }
  return true;
}

static void print(const Project& project)
{
  int width = 0;
  for (const Task& task : project.tasks)
    width = std::max(width, static_cast<int>(task.name.size()));
  for (size_t i = 0; i < begins.size(); i++) {
    std::printf("%-*s %3d |", width, project.tasks[i].name.c_str(), project.tasks[i].people);
    for (int day = 0; day < bestFinish; day++)
      std::printf("%c", runs(project, i, day) ? '#' : ' ');
    std::printf("|\n");
  }
  std::printf("%-*s     |", width, "people");
  for (int day = 0; day < bestFinish; day++) {
    int busy = 0;
    for (size_t i = 0; i < begins.size(); i++)
      busy += runs(project, i, day) ? project.tasks[i].people : 0;
    std::printf("%c", busy < 10 ? '0' + busy : '+');
  }
  std::printf("|\n");
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-project", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Project project;
  if (!read(files[0], project))
    return badInput;
  startSolver("ku-project", seconds);
  const bool possible = buildModel(project);
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_minimize(&run, start.data(), static_cast<int>(start.size()), earliest, finish, keep);
  if (bestFinish < 0) {
    std::printf("%s; ", isStopped(outcome) ? stoppedText(outcome) : "there is no schedule");
  } else {
    print(project);
    std::printf("%s: %s, %s; ", isStopped(outcome) ? stoppedText(outcome) : "best",
        plural(bestFinish, "day", "days").c_str(), isSchedule(project) ? "verified" : "WRONG");
  }
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
