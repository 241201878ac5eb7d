/*
 * A chained hash table with keys by pointer and values copied by size. It knows nothing of what its keys mean, and
 * never frees one. Setting doesn't look for an equal key: the newer entry stands in front and hides the older.
 */
#include "rcs.h"

#include <cstdlib>
#include <cstring>

constexpr uint64_t firstNbBuckets = 100;

static HashEntry** allocateBuckets(uint64_t nbBuckets)
{
  auto** buckets = static_cast<HashEntry**>(calloc(nbBuckets, sizeof(HashEntry*)));
  if (!buckets)
    rcsHandleNoMemoryError();
  return buckets;
}

HashTable* rcsCreateHashTable(int (*hash)(const void*), int (*compare)(const void*, const void*), uint64_t valueSize)
{
  auto* table = static_cast<HashTable*>(malloc(sizeof(HashTable)));
  if (!table) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *table = {._hash = hash,
      ._compare = compare,
      ._valueSize = valueSize,
      ._count = 0,
      ._nbBuckets = firstNbBuckets,
      ._buckets = allocateBuckets(firstNbBuckets)};
  if (!table->_buckets) {
    free(table);
    return nullptr;
  }
  return table;
}

void rcsDeleteHashTable(HashTable* table)
{
  if (!table)
    return;
  for (uint64_t i = 0; i < table->_nbBuckets; i++) {
    while (HashEntry* entry = table->_buckets[i]) {
      table->_buckets[i] = entry->_nextEntry;
      free(entry);
    }
  }
  free(table->_buckets);
  free(table);
}

static HashEntry** bucketOf(const HashTable* table, const void* key)
{
  return &table->_buckets[uint32_t(table->_hash(key)) % table->_nbBuckets];
}

static void pushFront(HashEntry** bucket, HashEntry* entry)
{
  entry->_nextEntry = *bucket;
  *bucket = entry;
}

static bool doubleBuckets(HashTable* table)
{
  HashEntry** old = table->_buckets;
  uint64_t nbOld = table->_nbBuckets;
  HashEntry** buckets = allocateBuckets(2 * nbOld);
  if (!buckets)
    return false;
  table->_buckets = buckets;
  table->_nbBuckets = 2 * nbOld;
  for (uint64_t i = 0; i < nbOld; i++) {
    while (HashEntry* entry = old[i]) {
      old[i] = entry->_nextEntry;
      pushFront(bucketOf(table, entry->_key), entry);
    }
  }
  free(old);
  return true;
}

void rcsHashTableSet(HashTable* table, void* key, const void* value)
{
  // Only a collision makes the table grow, and only when about half as many entries as buckets are in it.
  HashEntry** bucket = bucketOf(table, key);
  while (*bucket && table->_nbBuckets / table->_count <= 1) {
    if (!doubleBuckets(table))
      return;
    bucket = bucketOf(table, key);
  }
  uint64_t room = table->_valueSize < sizeof(void*) ? sizeof(void*) : table->_valueSize;
  auto* entry = static_cast<HashEntry*>(malloc(sizeof(HashEntry) + room));
  if (!entry) {
    rcsHandleNoMemoryError();
    return;
  }
  entry->_key = key;
  memcpy(entry->_value, value, table->_valueSize);
  pushFront(bucket, entry);
  table->_count++;
}

/// The link to the first entry that compares equal, or to the end of its chain.
static HashEntry** find(const HashTable* table, const void* key)
{
  HashEntry** link = bucketOf(table, key);
  while (*link && table->_compare(key, (*link)->_key) != 0)
    link = &(*link)->_nextEntry;
  return link;
}

void rcsHashTableRemove(HashTable* table, const void* key)
{
  HashEntry** link = find(table, key);
  HashEntry* entry = *link;
  if (!entry)
    return;
  *link = entry->_nextEntry;
  free(entry);
  table->_count--;
}

void* rcsHashTableGetRef(HashTable* table, const void* key)
{
  HashEntry* entry = *find(table, key);
  return entry ? entry->_value : nullptr;
}

int rcsHashTableGet(HashTable* table, const void* key, void* value)
{
  void* found = rcsHashTableGetRef(table, key);
  if (found && value)
    memcpy(value, found, table->_valueSize);
  return found != nullptr;
}

HashTableIterator* rcsHashTableGetIterator(HashTable* table)
{
  auto* iterator = static_cast<HashTableIterator*>(malloc(sizeof(HashTableIterator)));
  if (!iterator) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *iterator = {._table = table, ._bucket = 0, ._entry = nullptr};
  return iterator;
}

void rcsDeleteHashTableIterator(HashTableIterator* iterator) { free(iterator); }

int rcsHashTableIteratorNext(HashTableIterator* iterator)
{
  const HashTable* table = iterator->_table;
  if (iterator->_bucket >= table->_nbBuckets)
    return 0;
  if (iterator->_entry) {
    iterator->_entry = iterator->_entry->_nextEntry;
    if (iterator->_entry)
      return 1;
    iterator->_bucket++;
  }
  for (; iterator->_bucket < table->_nbBuckets; iterator->_bucket++) {
    iterator->_entry = table->_buckets[iterator->_bucket];
    if (iterator->_entry)
      return 1;
  }
  return 0;
}

void* rcsHashTableIteratorGetKey(HashTableIterator* iterator) { return iterator->_entry->_key; }
