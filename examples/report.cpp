/*
 * ku-report: turns the report of a constraint profiler into a sorted table, and on request into a page with bars.
 *
 * A report is a header of lines "label: text", a line "__DATA__", and rows of a locator text, an entry point, calls and
 * failures, with tabs between them. The locator text comes from the client and may hold tabs and line breaks itself, so
 * a row is read from its end. Rows with the same text and entry point, as from a constraint posted in a loop, are added
 * up.
 */
#include "support.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <optional>

using namespace example;

static const char usage[] =
    "Usage: ku-report [OPTION]... [FILE]...\n"
    "Prints the rows of profiler reports, those that cost most first. Without a FILE, or with -,\n"
    "reads standard input.\n"
    "\n"
    "  --by KEY      sort by calls (the default), failures or where\n"
    "  --top N       print the first N rows only\n"
    "  --html PAGE   write the table with bars into the file PAGE instead; it needs nothing else\n"
    "  --help        print this text\n"
    "\n"
    "Exit status: 0 done, 1 a report was missing or malformed, 2 wrong usage.\n";

struct Row
{
  std::string where, function;
  long long constraints = 0, calls = 0, failures = 0;
};

struct Report
{
  std::string name;
  std::vector<std::pair<std::string, std::string>> header;
  std::vector<Row> rows;
  long long calls = 0, failures = 0;
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Reading
 * ------------------------------------------------------------------------------------------------------------------ */

static std::optional<std::string> contents(const std::string& path)
{
  FILE* file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
  if (!file) {
    complain({path}, std::strerror(errno));
    return {};
  }
  std::string text;
  char part[65536];
  while (size_t n = std::fread(part, 1, sizeof part, file))
    text.append(part, n);
  const bool failed = std::ferror(file);
  if (file != stdin)
    std::fclose(file);
  if (failed) {
    complain({path}, "can't be read");
    return {};
  }
  return text;
}

// Cuts the last field off, a number.
static std::optional<long long> cutNumber(std::string& row)
{
  const size_t tab = row.rfind('\t');
  if (tab == std::string::npos)
    return {};
  long long value = 0;
  const char* end = row.data() + row.size();
  const auto [stop, error] = std::from_chars(row.data() + tab + 1, end, value);
  if (error != std::errc() || stop != end)
    return {};
  row.resize(tab);
  return value;
}

static std::optional<Row> parseRow(std::string text)
{
  const auto failures = cutNumber(text);
  const auto calls = failures ? cutNumber(text) : failures;
  const size_t tab = calls ? text.rfind('\t') : std::string::npos;
  if (tab == std::string::npos)
    return {};
  return Row{text.substr(0, tab), text.substr(tab + 1), 1, *calls, *failures};
}

static std::optional<Report> parse(const std::string& name, const std::string& text)
{
  Report report;
  report.name = name == "-" ? "standard input" : name;
  size_t start = 0;
  int line = 0;
  const auto nextLine = [&](std::string& into) {
    if (start >= text.size())
      return false;
    const size_t end = std::min(text.find('\n', start), text.size());
    into = text.substr(start, end - start);
    start = end + 1;
    line++;
    return true;
  };
  std::string read;
  if (!nextLine(read) || !read.starts_with("Ku Profiler: Constraint ")) {
    complain({report.name, 1}, "isn't the report of a constraint profiler");
    return {};
  }
  while (true) {
    if (!nextLine(read)) {
      complain({report.name}, "ends before '__DATA__'");
      return {};
    }
    if (read == "__DATA__")
      break;
    const size_t colon = read.find(": ");
    if (colon == std::string::npos) {
      complain({report.name, line}, "expected 'label: text'");
      return {};
    }
    report.header.emplace_back(read.substr(0, colon), read.substr(colon + 2));
  }
  std::map<std::pair<std::string, std::string>, Row> rows;
  std::string pending;
  int firstLine = 0;
  while (nextLine(read)) {
    if (pending.empty())
      firstLine = line;
    pending += pending.empty() ? read : '\n' + read;
    const auto row = parseRow(pending);
    if (!row)
      continue; // the locator text goes on in the next line
    pending.clear();
    Row& sum = rows[{row->where, row->function}];
    sum.where = row->where;
    sum.function = row->function;
    sum.constraints++;
    sum.calls += row->calls;
    sum.failures += row->failures;
    report.calls += row->calls;
    report.failures += row->failures;
  }
  if (!pending.empty()) {
    complain({report.name, firstLine},
        pending == "error" ? "the solver ran out of memory while it wrote this" : "isn't a row of a report");
    return {};
  }
  for (auto& [key, row] : rows)
    report.rows.push_back(std::move(row));
  return report;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Writing
 * ------------------------------------------------------------------------------------------------------------------ */

static std::string percent(long long part, long long whole)
{
  char text[32];
  std::snprintf(
      text, sizeof text, "%.1f %%", whole ? 100.0 * static_cast<double>(part) / static_cast<double>(whole) : 0);
  return text;
}

static std::string oneLine(std::string text)
{
  for (char& c : text)
    if (static_cast<unsigned char>(c) < ' ')
      c = ' ';
  return text.empty() ? "(no text)" : text;
}

static void printTable(const Report& report)
{
  std::printf("%s: %s, %s, of these %s\n", report.name.c_str(),
      plural(static_cast<long long>(report.rows.size()), "row", "rows").c_str(),
      plural(report.calls, "call", "calls").c_str(), plural(report.failures, "failure", "failures").c_str());
  std::printf("%12s %8s %10s %6s  %-24s %s\n", "calls", "share", "failures", "posted", "constraint", "where");
  for (const Row& row : report.rows)
    std::printf("%12lld %8s %10lld %6lld  %-24s %s\n", row.calls, percent(row.calls, report.calls).c_str(),
        row.failures, row.constraints, row.function.c_str(), oneLine(row.where).c_str());
}

static std::string escaped(const std::string& text)
{
  std::string result;
  for (const char c : text)
    switch (c) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '"':
      result += "&quot;";
      break;
    case '\'':
      result += "&#39;";
      break;
    default:
      result += c;
    }
  return result;
}

static void writePage(FILE* out, const std::vector<Report>& reports)
{
  std::fputs("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>Profile</title>\n<style>\n"
             "body { font: 15px sans-serif; margin: 2em auto; max-width: 70em; }\n"
             "table { border-collapse: collapse; width: 100%; }\n"
             "th, td { text-align: right; padding: 0.2em 0.7em; border-bottom: 1px solid #ddd; }\n"
             "th.text, td.text { text-align: left; white-space: pre-wrap; overflow-wrap: anywhere; }\n"
             "td.bar { width: 30%; }\n"
             "td.bar div { height: 1em; background: #3b6ea5; }\n"
             "td.bar div div { background: #c8442f; }\n"
             "</style>\n</head>\n<body>\n",
      out);
  for (const Report& report : reports) {
    std::fprintf(out, "<h1>%s</h1>\n<p>", escaped(report.name).c_str());
    for (const auto& [label, text] : report.header)
      std::fprintf(out, "%s: %s<br>\n", escaped(label).c_str(), escaped(text).c_str());
    std::fprintf(out,
        "</p>\n<p>%lld calls of handlers, in the bars the share of the most called; in red what failed.</p>\n"
        "<table>\n<tr><th>calls</th><th>share</th><th>failures</th><th>posted</th><th class=\"text\">constraint</th>"
        "<th class=\"text\">where</th><th></th></tr>\n",
        report.calls);
    long long most = 1;
    for (const Row& row : report.rows)
      most = std::max(most, row.calls);
    for (const Row& row : report.rows) {
      const double width = 100.0 * static_cast<double>(row.calls) / static_cast<double>(most);
      const double red = row.calls ? 100.0 * static_cast<double>(row.failures) / static_cast<double>(row.calls) : 0;
      std::fprintf(out,
          "<tr><td>%lld</td><td>%s</td><td>%lld</td><td>%lld</td><td class=\"text\">%s</td><td class=\"text\">%s</td>"
          "<td class=\"bar\"><div style=\"width: %.1f%%\"><div style=\"width: %.1f%%\"></div></div></td></tr>\n",
          row.calls, percent(row.calls, report.calls).c_str(), row.failures, row.constraints,
          escaped(row.function).c_str(), escaped(row.where.empty() ? "(no text)" : row.where).c_str(), width, red);
    }
    std::fputs("</table>\n", out);
  }
  std::fputs("</body>\n</html>\n", out);
}

static void sortRows(std::vector<Row>& rows, const std::string& key)
{
  // They come in the order of the texts, which decides between equals.
  if (key == "calls")
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.calls > b.calls; });
  else if (key == "failures")
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.failures > b.failures; });
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-report", usage);
  const std::string key = arguments.text("--by", "calls");
  if (key != "calls" && key != "failures" && key != "where")
    arguments.fail("--by takes calls, failures or where, not '" + key + "'");
  const auto top = static_cast<size_t>(arguments.number("--top", 1000000000, 1, 1000000000));
  const std::string page = arguments.text("--html", "");
  std::vector<std::string> files = arguments.files();
  if (files.empty())
    files.emplace_back("-");

  int status = done;
  std::vector<Report> reports;
  for (const std::string& file : files) {
    const auto text = contents(file);
    auto report = text ? parse(file, *text) : std::nullopt;
    if (!report) {
      status = badInput;
      continue;
    }
    sortRows(report->rows, key);
    if (report->rows.size() > top)
      report->rows.resize(top);
    reports.push_back(std::move(*report));
  }
  if (page.empty()) {
    for (const Report& report : reports)
      printTable(report);
    return status;
  }
  FILE* out = std::fopen(page.c_str(), "w");
  if (out)
    writePage(out, reports);
  if (!out || std::ferror(out) + std::fclose(out) != 0) {
    complain({page}, std::strerror(errno));
    return badInput;
  }
  return status;
}
