/*
 * A profiler's report, read into its lines.
 */
#ifndef KIT_REPORT_H
#define KIT_REPORT_H

#include "rcs.h"

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace kit {

struct Report
{
  using Rows = std::map<std::string, std::string>; ///< "entry locator" to "calls failures"
  std::string text;
  std::vector<std::string> header; ///< the lines before "__DATA__"
  Rows rows;
};

inline Report reportOf(Profiler* profiler)
{
  char* buffer = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&buffer, &size);
  cs_profilerWrite(profiler, stream);
  fclose(stream);
  Report report = {.text = {buffer, size}, .header = {}, .rows = {}};
  free(buffer);
  std::istringstream lines(report.text);
  std::string line;
  while (std::getline(lines, line) && line != "__DATA__")
    report.header.push_back(line);
  while (std::getline(lines, line)) {
    // A locator's text may hold tabs.
    size_t third = line.rfind('\t'), second = line.rfind('\t', third - 1), first = line.rfind('\t', second - 1);
    std::string& row = report.rows[line.substr(first + 1, second - first - 1) + " " + line.substr(0, first)];
    row += (row.empty() ? "" : "; ") + line.substr(second + 1, third - second - 1) + " " + line.substr(third + 1);
  }
  return report;
}

} // namespace kit

#endif
