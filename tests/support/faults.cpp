#include "faults.h"

#include "heapWatch.h"
#include "snapshot.h"

namespace kit {

static void count(CSint*, void* calls) { ++*static_cast<int*>(calls); }

/// One run with the n-th allocation refused; empty when that is as it should be. Sets `done` when no allocation was
/// left to refuse.
static std::string faultOfRun(const FaultRow& row, bool cheap, uint64_t n, bool* done)
{
  std::string text;
  auto expect = [&](bool condition, const std::string& what) {
    if (!condition && text.empty())
      text = std::string(row.name) + ", allocation " + std::to_string(n) + ": " + what;
  };
  size_t before = heap::live();
  int calls = 0;
  cs_init();
  if (cheap)
    cs_setProfilerLocator("test", cheapLocator, nullptr);
  Vars x;
  for (const std::string& domain : row.domains)
    x.push_back(makeVar(domain));
  if (row.prepare)
    row.prepare(x);
  cs_setErrHandler(CS_ERR_NO_MEMORY, count, &calls);
  int label = row.undo ? cs_saveContext() : 0;
  Snapshot snapshot(x);

  heap::refuse(n);
  bool succeeded = row.run(x);
  *done = !heap::refused();
  heap::refuse(0);

  if (*done) {
    expect(succeeded, "failed although it had all its memory");
    expect(n > 1, "allocates nothing");
    expect(calls == 0 && cs_getErr() == 0, "reported an error for nothing");
  } else {
    expect(succeeded == row.survives, row.survives ? "failed" : "succeeded");
    expect(calls > 0, "the handler didn't run");
    expect(cs_getErr() == CS_ERR_NO_MEMORY, "the error code is " + std::to_string(cs_getErr()));
    if (row.undo) {
      cs_restoreContextUntil(label);
      cs_initErr();
      std::string changes = snapshot.changesOfVars();
      expect(changes.empty(), "not as before after the restore:\n" + changes);
      expect(row.run(x), "fails when it is tried again with memory");
    }
  }
  cs_end();
  expect(heap::live() == before, std::to_string(heap::live() - before) + " blocks are left");
  return text;
}

std::string faultOf(const FaultRow& row, bool withCheapLocator)
{
  std::string fault;
  bool done = false;
  for (uint64_t n = 1; !done && fault.empty(); n++) {
    noteForCrash(std::string(row.name) + ", allocation " + std::to_string(n));
    fault = faultOfRun(row, withCheapLocator, n, &done);
  }
  noteForCrash("");
  return fault;
}

namespace {

class FaultTest : public testing::Test
{
public:
  FaultTest(const FaultRow& row, bool cheap) : _row(row), _cheap(cheap) {}

  void TestBody() override
  {
    if (std::string fault = faultOf(_row, _cheap); !fault.empty())
      ADD_FAILURE() << fault;
  }

private:
  FaultRow _row;
  bool _cheap;
};

} // namespace

int faults(const char* suite, const std::vector<FaultRow>& rows, const char* file, int line)
{
  for (const FaultRow& row : rows)
    for (bool cheap : {true, false})
      testing::RegisterTest(suite, (std::string(row.name) + (cheap ? "" : "WithDefaultLocator")).c_str(), nullptr,
          nullptr, file, line, [=]() -> testing::Test* { return new FaultTest(row, cheap); });
  return int(rows.size());
}

} // namespace kit
