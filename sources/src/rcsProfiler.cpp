/*
 * The profiler: where each constraint was posted from; unary constraints called from a client's callback; the profilers
 * that count and their report.
 *
 * Every posting asks a locator for a text and keeps it in the constraint's info. The infos are counted, so that a row
 * of a report outlives its constraint. A unary constraint has no record and hence no info; one that is called from
 * inside an event callback gets an info of its own, a child of the callback's, kept in a table from then until cs_end.
 */
#include "rcsPost.h"

#include <cstring>
#include <ctime>
#include <execinfo.h>

#if defined(__linux__)
#include <link.h>
#elif defined(__APPLE__)
#include <mach-o/dyld.h>
#include <mach-o/getsect.h>
#endif

// =====================================================================================================================
// The locator
// =====================================================================================================================

static const char* defaultLocator(void*);

static CSlocator Locator = defaultLocator;
static void* LocatorExtra;
static char* LocatorFormat; ///< copy of the client's word for its own texts, or null
static char** Strings;      ///< the default locator's last answer, freed at the next

/// Names the third frame: the first is this routine, the second the entry point that asks, the third its caller.
[[gnu::noinline]] static const char* defaultLocator(void*)
{
  free(Strings);
  void* frames[3];
  int captured = backtrace(frames, 3);
  Strings = backtrace_symbols(frames, captured);
  return Strings && captured > 0 ? Strings[captured - 1] : "(unknown)";
}

CSlocator rcsGetProfilerLocatorFunction(void) { return Locator; }

void* rcsGetProfilerLocatorFunctionExtra(void) { return LocatorExtra; }

static char* copyText(const char* text)
{
  size_t size = strlen(text) + 1;
  auto* copy = static_cast<char*>(malloc(size));
  if (copy)
    memcpy(copy, text, size);
  else
    rcsHandleNoMemoryError();
  return copy;
}

void cs_setProfilerLocator(const char* format, CSlocator locator, void* extra)
{
  if (!locator && Locator == defaultLocator)
    return;
  free(LocatorFormat);
  LocatorFormat = locator ? copyText(format) : nullptr;
  Locator = locator ? locator : defaultLocator;
  LocatorExtra = locator ? extra : nullptr;
}

// =====================================================================================================================
// Unary constraints called from a client's callback
// =====================================================================================================================

signed char kernel::IsProfileEnabled = 0;

int rcsIsProfilerEnabled(void) { return IsProfileEnabled; }

void rcsSwitchProfiling(int flag) { IsProfileEnabled = static_cast<signed char>(flag); }

struct UnaryKey
{
  ConstraintInfo* _parent; ///< the callback's info, counted
  const char* _name;       ///< literal
  const char* _location;   ///< the child's own copy of the text
};

static HashTable* EventUnaryCITable; ///< UnaryKey to child info, from cs_init to cs_end

static uint32_t textHash(const char* text)
{
  uint32_t hash = 12345678;
  for (; *text; text++)
    hash = (hash << 5) ^ uint32_t(static_cast<signed char>(*text));
  return hash;
}

static int eciHash(const void* key)
{
  auto* k = static_cast<const UnaryKey*>(key);
  return int(textHash(k->_name) ^ uint32_t(reinterpret_cast<uintptr_t>(k->_parent)) ^ textHash(k->_location));
}

static int eciCmp(const void* a, const void* b)
{
  auto *x = static_cast<const UnaryKey*>(a), *y = static_cast<const UnaryKey*>(b);
  return x->_parent != y->_parent || strcmp(x->_name, y->_name) != 0 || strcmp(x->_location, y->_location) != 0;
}

void rcsInitEventUnaryCITable(void)
{
  EventUnaryCITable = rcsCreateHashTable(eciHash, eciCmp, sizeof(ConstraintInfo*));
}

/// Makes the child and its entry; null, with nothing left behind, when memory runs out on the way.
static ConstraintInfo* addChild(ConstraintInfo* parent, const char* name, const char* location)
{
  auto* key = static_cast<UnaryKey*>(malloc(sizeof(UnaryKey)));
  if (!key) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  ConstraintInfo* child = rcsCreateConstraintInfo(name, location);
  if (!child) {
    free(key);
    return nullptr;
  }
  *key = {._parent = parent, ._name = name, ._location = child->_locator};
  rcsHashTableSet(EventUnaryCITable, key, &child);
  if (!rcsHashTableGet(EventUnaryCITable, key, nullptr)) {
    free(child);
    free(key);
    return nullptr;
  }
  parent->_refCount++;
  child->_refCount++;
  return child;
}

ConstraintInfo* getConstraintInfoByEvent(const char* name, const char* location)
{
  ConstraintInfo* parent = CurrentCI;
  if (!parent)
    return nullptr;
  UnaryKey key = {._parent = parent, ._name = name, ._location = location ? location : ""};
  ConstraintInfo* child;
  return rcsHashTableGet(EventUnaryCITable, &key, &child) ? child : addChild(parent, name, location);
}

void rcsCleanupEventUnaryCITable(void)
{
  // Missing after a start that ran out of memory.
  if (!EventUnaryCITable)
    return;
  const HashTableIterator start = {._table = EventUnaryCITable, ._bucket = 0, ._entry = nullptr};
  for (HashTableIterator i = start; rcsHashTableIteratorNext(&i); i = start) {
    auto* key = static_cast<UnaryKey*>(rcsHashTableIteratorGetKey(&i));
    ConstraintInfo* child;
    if (!rcsHashTableGet(EventUnaryCITable, key, &child))
      abort();
    // The text of the key lies in the child, so the key leaves the table first.
    rcsHashTableRemove(EventUnaryCITable, key);
    if (rcsHashTableGet(EventUnaryCITable, key, nullptr))
      abort();
    releaseInfo(child);
    releaseInfo(key->_parent);
    free(key);
  }
  rcsDeleteHashTable(EventUnaryCITable);
  EventUnaryCITable = nullptr;
}

// =====================================================================================================================
// Profilers
// =====================================================================================================================

/// To the solver a profiler is three functions on a private state; one kind exists.
struct Profiler
{
  void* _context;
  void (*_callback)(void* context, int success, CSint* variable, uint32_t event, ConstraintInfo* info);
  void (*_destroy)(void* context);
  void (*_write)(void* context, FILE* stream, const Profiler* profiler);
  int32_t _enabled;
  int64_t _startTime; ///< seconds at the first enabling, 0 before it
  int64_t _endTime;   ///< seconds at the last disabling, 0 before it
  Profiler* _prevCall;
  Profiler* _nextCall;
  Profiler* _prevProfiler;
  Profiler* _nextProfiler;
};

static Profiler* _plist; ///< all profilers, newest first
static Profiler* _pcall; ///< the enabled ones, last enabled first

template <Profiler* Profiler::*Prev, Profiler* Profiler::*Next>
static void link(Profiler*& head, Profiler* profiler)
{
  profiler->*Prev = nullptr;
  profiler->*Next = head;
  if (head)
    head->*Prev = profiler;
  head = profiler;
}

/// Does nothing to a profiler that isn't in the list.
template <Profiler* Profiler::*Prev, Profiler* Profiler::*Next>
static void unlink(Profiler*& head, Profiler* profiler)
{
  if (profiler->*Prev)
    (profiler->*Prev)->*Next = profiler->*Next;
  if (profiler->*Next)
    (profiler->*Next)->*Prev = profiler->*Prev;
  if (head == profiler)
    head = profiler->*Next;
  profiler->*Prev = profiler->*Next = nullptr;
}

static constexpr auto linkCall = link<&Profiler::_prevCall, &Profiler::_nextCall>;
static constexpr auto unlinkCall = unlink<&Profiler::_prevCall, &Profiler::_nextCall>;
static constexpr auto linkProfiler = link<&Profiler::_prevProfiler, &Profiler::_nextProfiler>;
static constexpr auto unlinkProfiler = unlink<&Profiler::_prevProfiler, &Profiler::_nextProfiler>;

void cs_enableProfiler(Profiler* profiler)
{
  if (profiler->_enabled)
    return;
  if (!_pcall)
    rcsSwitchProfiling(1);
  linkCall(_pcall, profiler);
  profiler->_enabled = 1;
  if (profiler->_startTime == 0)
    profiler->_startTime = time(nullptr);
}

void cs_disableProfiler(Profiler* profiler)
{
  if (!profiler->_enabled)
    return;
  unlinkCall(_pcall, profiler);
  if (!_pcall)
    rcsSwitchProfiling(0);
  profiler->_enabled = 0;
  profiler->_endTime = time(nullptr);
}

// The switch stays as it is and the record stays readable: this only takes the profiler out of the solver's hands.
void cs_deleteProfiler(Profiler* profiler)
{
  unlinkProfiler(_plist, profiler);
  unlinkCall(_pcall, profiler);
}

[[gnu::noinline]] void rcsCallProfiler(int success, CSint* variable, uint32_t event, ConstraintInfo* info)
{
  for (Profiler* p = _pcall; p; p = p->_nextCall)
    p->_callback(p->_context, uint8_t(success), variable, event, info);
}

void rcsCleanProfiling(void)
{
  while (Profiler* profiler = _plist) {
    _plist = profiler->_nextProfiler;
    profiler->_destroy(profiler->_context);
    free(profiler);
  }
  _pcall = nullptr;
  if (Locator == defaultLocator) {
    free(Strings);
    Strings = nullptr;
  }
  rcsSwitchProfiling(0);
}

void cs_profilerWrite(Profiler* profiler, FILE* stream) { profiler->_write(profiler->_context, stream, profiler); }

int cs_profilerWriteFile(Profiler* profiler, const char* path)
{
  FILE* stream = fopen(path, "w");
  if (!stream)
    return 0;
  cs_profilerWrite(profiler, stream);
  return fclose(stream);
}

// =====================================================================================================================
// The kind that counts by constraint
// =====================================================================================================================

struct ConstraintProfile
{
  HashTable* _table; ///< ConstraintInfo, held by its count, to Counts
};

struct Counts
{
  int32_t _calls;
  int32_t _failures;
};

static int ciHash(const void* key) { return int(uint32_t(reinterpret_cast<uintptr_t>(key))); }

static int ciCmp(const void* a, const void* b) { return a != b; }

static Counts* countsOf(HashTable* table, ConstraintInfo* info)
{
  auto* counts = static_cast<Counts*>(rcsHashTableGetRef(table, info));
  if (counts)
    return counts;
  const Counts none = {._calls = 0, ._failures = 0};
  rcsHashTableSet(table, info, &none);
  counts = static_cast<Counts*>(rcsHashTableGetRef(table, info));
  if (counts)
    info->_refCount++;
  return counts;
}

static void cap_callback(void* context, int success, CSint*, uint32_t, ConstraintInfo* info)
{
  Counts* counts = countsOf(static_cast<ConstraintProfile*>(context)->_table, info);
  if (!counts)
    return;
  counts->_calls = wrapAdd(counts->_calls, 1);
  if (!success)
    counts->_failures = wrapAdd(counts->_failures, 1);
}

static void cap_destroy(void* context)
{
  auto* profile = static_cast<ConstraintProfile*>(context);
  HashTableIterator i = {._table = profile->_table, ._bucket = 0, ._entry = nullptr};
  while (rcsHashTableIteratorNext(&i))
    releaseInfo(static_cast<ConstraintInfo*>(rcsHashTableIteratorGetKey(&i)));
  rcsDeleteHashTable(profile->_table);
  free(profile);
}

// A reader of the report turns the default locator's addresses into lines of source with the executable at hand: it
// needs the platform, the processor and the address at which the executable was loaded.
#if defined(__x86_64__)
static const char archWord[] = "x86_64";
#elif defined(__aarch64__)
static const char archWord[] = "aarch64";
#elif defined(__i386__)
static const char archWord[] = "i386";
#else
static const char archWord[] = "generic";
#endif

#if defined(__linux__)
static const char platformWord[] = "linux";

static unsigned long long loadAddress()
{
  // The dynamic loader lists the executable first.
  unsigned long long address = 0;
  dl_iterate_phdr(
      [](dl_phdr_info* image, size_t, void* result) {
        for (int i = 0; i < image->dlpi_phnum; i++) {
          if (image->dlpi_phdr[i].p_type != PT_LOAD)
            continue;
          *static_cast<unsigned long long*>(result) = image->dlpi_addr + image->dlpi_phdr[i].p_vaddr;
          break;
        }
        return 1;
      },
      &address);
  return address;
}
#elif defined(__APPLE__)
static const char platformWord[] = "darwin";

static intptr_t slideOfExecutable()
{
  char path[1024];
  uint32_t size = sizeof path;
  if (_NSGetExecutablePath(path, &size) != 0)
    return -1;
  for (uint32_t i = 0; i < _dyld_image_count(); i++)
    if (strcmp(_dyld_get_image_name(i), path) == 0)
      return _dyld_get_image_vmaddr_slide(i);
  return 0;
}

static unsigned long long loadAddress() { return getsegbyname("__TEXT")->vmaddr + slideOfExecutable(); }
#else
static const char platformWord[] = "generic";

static unsigned long long loadAddress() { return 0; }
#endif

static void writeHeader(FILE* stream, const Profiler* profiler)
{
  fputs("Ku Profiler: Constraint 1.0\n", stream);
  fprintf(stream, "Ku-C Version: %s\n", cs_getVersion());
  if (profiler->_startTime != 0)
    fprintf(stream, "start_time: %lld\n", static_cast<long long>(profiler->_startTime));
  if (profiler->_enabled)
    fprintf(stream, "end_time: %lld\n", static_cast<long long>(time(nullptr)));
  else if (profiler->_endTime != 0)
    fprintf(stream, "end_time: %lld\n", static_cast<long long>(profiler->_endTime));
  if (Locator == defaultLocator) {
    fprintf(stream, "platform: %s\n", platformWord);
    fprintf(stream, "arch: %s\n", archWord);
    fprintf(stream, "base address: 0x%0llx\n", loadAddress());
  } else {
    fputs("platform: generic\n", stream);
  }
  fprintf(stream, "format: %s\n", LocatorFormat ? LocatorFormat : "darwin_atos");
  fputs("__DATA__\n", stream);
}

static void cap_write(void* context, FILE* stream, const Profiler* profiler)
{
  writeHeader(stream, profiler);
  HashTable* table = static_cast<ConstraintProfile*>(context)->_table;
  HashTableIterator* i = rcsHashTableGetIterator(table);
  if (!i) {
    fputs("error\n", stream);
    return;
  }
  while (rcsHashTableIteratorNext(i)) {
    auto* info = static_cast<ConstraintInfo*>(rcsHashTableIteratorGetKey(i));
    auto* counts = static_cast<Counts*>(rcsHashTableGetRef(table, info));
    fputs(info->_locator, stream);
    fprintf(stream, "\t%s", info->_function);
    fprintf(stream, "\t%d\t%d\n", counts->_calls, counts->_failures);
  }
  rcsDeleteHashTableIterator(i);
}

Profiler* cs_createProfiler(int kind)
{
  if (kind != CS_PROFILER_CONSTRAINTS)
    return nullptr;
  auto* profile = static_cast<ConstraintProfile*>(malloc(sizeof(ConstraintProfile)));
  auto* profiler = static_cast<Profiler*>(malloc(sizeof(Profiler)));
  if (!profile || !profiler)
    rcsHandleNoMemoryError();
  else
    profile->_table = rcsCreateHashTable(ciHash, ciCmp, sizeof(Counts));
  if (!profile || !profiler || !profile->_table) {
    free(profile);
    free(profiler);
    return nullptr;
  }
  *profiler = Profiler();
  profiler->_context = profile;
  profiler->_callback = cap_callback;
  profiler->_destroy = cap_destroy;
  profiler->_write = cap_write;
  linkProfiler(_plist, profiler);
  return profiler;
}
