/*
 * The hash table: growth, equal keys, iteration.
 */
#include "rcs.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

static int lengthOf(const void* key) { return int(strlen(static_cast<const char*>(key))); }
static int allAlike(const void*) { return -1; }
static int compare(const void* a, const void* b)
{
  return strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
}

class Hash : public testing::Test
{
protected:
  void use(int (*hash)(const void*), uint64_t valueSize = sizeof(int))
  {
    table.reset(rcsCreateHashTable(hash, compare, valueSize));
  }

  char* key(int i)
  {
    names.push_back(std::make_unique<std::string>("k" + std::to_string(i)));
    return names.back()->data();
  }

  void set(char* name, int value) { rcsHashTableSet(table.get(), name, &value); }

  int get(const char* name)
  {
    int value = -1;
    rcsHashTableGet(table.get(), name, &value);
    return value;
  }

  struct Deleter
  {
    void operator()(HashTable* t) const { rcsDeleteHashTable(t); }
  };
  std::unique_ptr<HashTable, Deleter> table;
  std::vector<std::unique_ptr<std::string>> names;
};

TEST_F(Hash, DoublesAtACollisionOfAHalfFullTable)
{
  use(allAlike);
  EXPECT_EQ(table->_nbBuckets, 100u);
  for (int i = 0; i < 50; i++)
    set(key(i), i);
  // 100 / 50 is 2: the fiftieth entry, too, found room by chaining.
  EXPECT_EQ(table->_nbBuckets, 100u);
  set(key(50), 50);
  EXPECT_EQ(table->_nbBuckets, 100u);
  set(key(51), 51);
  // All keys collide, so it doubles until there are more than twice as many buckets as entries.
  EXPECT_EQ(table->_nbBuckets, 200u);
  for (int i = 0; i < 52; i++)
    EXPECT_EQ(get(names[size_t(i)]->c_str()), i);
  EXPECT_EQ(get("absent"), -1);
}

TEST_F(Hash, DoesNotGrowWithoutACollision)
{
  static int next;
  next = 0;
  use([](const void*) { return next++; });
  for (int i = 0; i < 100; i++)
    set(key(i), i);
  EXPECT_EQ(table->_nbBuckets, 100u);
  EXPECT_EQ(table->_count, 100u);
}

TEST_F(Hash, TheNewerOfEqualKeysHidesTheOlder)
{
  use(lengthOf);
  char first[] = "same", second[] = "same";
  set(first, 1);
  set(second, 2);
  EXPECT_EQ(table->_count, 2u);
  EXPECT_EQ(get("same"), 2);
  rcsHashTableRemove(table.get(), "same");
  EXPECT_EQ(get("same"), 1);
  rcsHashTableRemove(table.get(), "same");
  rcsHashTableRemove(table.get(), "same");
  EXPECT_EQ(table->_count, 0u);
  EXPECT_FALSE(rcsHashTableGet(table.get(), "same", nullptr));
  EXPECT_EQ(rcsHashTableGetRef(table.get(), "same"), nullptr);
}

TEST_F(Hash, ValuesAreCopiedBySizeAndReachedInPlace)
{
  struct Big
  {
    char text[100];
  } big = {"value"}, out;
  use(lengthOf, sizeof(Big));
  char name[] = "name";
  rcsHashTableSet(table.get(), name, &big);
  memset(&big, 0, sizeof big);
  EXPECT_TRUE(rcsHashTableGet(table.get(), "name", &out));
  EXPECT_STREQ(out.text, "value");
  strcpy(static_cast<Big*>(rcsHashTableGetRef(table.get(), "name"))->text, "changed");
  rcsHashTableGet(table.get(), "name", &out);
  EXPECT_STREQ(out.text, "changed");
}

TEST_F(Hash, IteratorsVisitEachEntryOnce)
{
  use(lengthOf);
  HashTableIterator* i = rcsHashTableGetIterator(table.get());
  EXPECT_FALSE(rcsHashTableIteratorNext(i));
  EXPECT_FALSE(rcsHashTableIteratorNext(i));
  rcsDeleteHashTableIterator(i);

  std::multiset<std::string> expected, seen;
  for (int k = 0; k < 150; k++) {
    set(key(k * 7), k);
    expected.insert(*names.back());
  }
  i = rcsHashTableGetIterator(table.get());
  while (rcsHashTableIteratorNext(i))
    seen.insert(static_cast<char*>(rcsHashTableIteratorGetKey(i)));
  EXPECT_FALSE(rcsHashTableIteratorNext(i));
  rcsDeleteHashTableIterator(i);
  EXPECT_EQ(seen, expected);
  rcsDeleteHashTable(nullptr);
}
