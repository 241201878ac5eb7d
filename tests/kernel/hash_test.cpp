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
static int compare(const void* a, const void* b)
{
  return strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
}

class Hash : public testing::Test
{
protected:
  void use(int (*hash)(const void*)) { table.reset(rcsCreateHashTable(hash, compare, sizeof(int))); }
  void set(char* key, int value) { rcsHashTableSet(table.get(), key, &value); }

  /// For the keys "0", "1", ...
  void setTo(int n)
  {
    while (int(names.size()) < n) {
      names.push_back(std::make_unique<std::string>(std::to_string(names.size())));
      set(names.back()->data(), int(names.size()));
    }
  }

  int get(const char* key)
  {
    int value = -1;
    rcsHashTableGet(table.get(), key, &value);
    return value;
  }

  std::unique_ptr<HashTable, void (*)(HashTable*)> table = {nullptr, rcsDeleteHashTable};
  std::vector<std::unique_ptr<std::string>> names;
};

TEST_F(Hash, DoublesAtACollisionOfAHalfFullTable)
{
  use([](const void*) { return -1; });
  EXPECT_EQ(table->_nbBuckets, 100u);
  // 100 / 50 is 2: the fiftieth entry, too, found room by chaining.
  setTo(51);
  EXPECT_EQ(table->_nbBuckets, 100u);
  // All keys collide, so it doubles until there are more than twice as many buckets as entries.
  setTo(52);
  EXPECT_EQ(table->_nbBuckets, 200u);
  for (int i = 0; i < 52; i++)
    EXPECT_EQ(get(names[size_t(i)]->c_str()), i + 1);
  EXPECT_EQ(get("absent"), -1);
}

TEST_F(Hash, DoesNotGrowWithoutACollision)
{
  use([](const void* key) { return atoi(static_cast<const char*>(key)); });
  setTo(100);
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
  for (int expected : {2, 1, -1, -1}) {
    EXPECT_EQ(get("same"), expected);
    rcsHashTableRemove(table.get(), "same");
  }
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
  table.reset(rcsCreateHashTable(lengthOf, compare, sizeof(Big)));
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
  for (int n : {0, 150}) {
    setTo(n);
    std::multiset<std::string> expected, seen;
    for (const auto& name : names)
      expected.insert(*name);
    HashTableIterator* i = rcsHashTableGetIterator(table.get());
    while (rcsHashTableIteratorNext(i))
      seen.insert(static_cast<char*>(rcsHashTableIteratorGetKey(i)));
    EXPECT_FALSE(rcsHashTableIteratorNext(i));
    rcsDeleteHashTableIterator(i);
    EXPECT_EQ(seen, expected);
  }
  rcsDeleteHashTable(nullptr);
}
