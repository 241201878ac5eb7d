#include "faults.h"

#include "heapWatch.h"
#include "snapshot.h"

namespace kit {

static constexpr int blockSize = 1024; // in variables and in records of the trail

// From 0 on: so much room in the last block of the trail.
enum Place : int { defaultLocator = -3, asItIs, fullVariables };
static constexpr int nbRooms = 8;

static void take(Place place, size_t nbVariables)
{
  if (place != defaultLocator)
    cs_setProfilerLocator("test", cheapLocator, nullptr);
  for (int i = int(nbVariables); place == fullVariables && i < blockSize; i++)
    CSINT(i);
  for (int i = place; place >= 0 && i < blockSize; i++)
    cs_backtrack(nullptr, 0, [](void*, int) {});
}

/// One run with the n-th allocation refused; empty when that is as it should be. Sets `done` when no allocation was
/// left to refuse.
static std::string faultOfRun(const FaultRow& row, Place place, uint64_t n, bool* done)
{
  const std::string where =
      std::string(row.name) + ", place " + std::to_string(place) + ", allocation " + std::to_string(n);
  noteForCrash(where);
  std::string text;
  auto expect = [&](bool condition, const std::string& what) {
    if (!condition && text.empty())
      text = where + ": " + what;
  };
  size_t before = heap::live();
  int calls = 0;
  cs_init();
  Vars x = makeVars(row.domains);
  take(place, x.size());
  if (row.prepare)
    row.prepare(x);
  cs_setErrHandler(
      CS_ERR_NO_MEMORY, [](CSint*, void* nb) { ++*static_cast<int*>(nb); }, &calls);
  int label = row.undo ? cs_saveContext() : 0;
  Snapshot snapshot(x);

  heap::refuse(n);
  bool succeeded = row.run(x);
  *done = !heap::refused();
  heap::refuse(0);

  if (*done) {
    expect(succeeded, "failed although it had all its memory");
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
  noteForCrash("");
  return text;
}

std::string faultOf(const FaultRow& row)
{
  std::string fault;
  uint64_t nbRefused = 0;
  for (int place = defaultLocator; place < (row.everywhere ? nbRooms : fullVariables) && fault.empty(); place++) {
    bool done = false;
    for (uint64_t n = 1; !done && fault.empty(); n++, nbRefused += !done)
      fault = faultOfRun(row, Place(place), n, &done);
  }
  return !fault.empty() || nbRefused ? fault : std::string(row.name) + ": allocates nothing";
}

} // namespace kit
