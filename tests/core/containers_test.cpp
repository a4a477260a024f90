#include <gtest/gtest.h>

#include <map>
#include <random>

#include "core/hash_map.h"
#include "core/pointer_array.h"
#include "core/typed_array.h"

namespace portwise {
namespace {

TEST(OTypedArray, GrowsByTheRule) {
  OTypedArray<int> array;
  // The first allocation is exact; then it grows by an eighth, at least by 4 and at most by 1024, or as is asked.
  for (const auto& [size, capacity] : {std::pair{3, 7}, {80, 90}, {20000, 21024}}) {
    array.SetSize(0);
    array.SetSize(size);
    array.Append(1);
    EXPECT_EQ(array.Capacity(), capacity);
  }
  array.SetSize(5);
  EXPECT_EQ(array.Capacity(), 21024) << "shrinking keeps it";
  array[4] = 9;
  array.SetSize(4);
  array.SetSize(5);
  EXPECT_EQ(array[4], 0) << "new elements are zero";
  array.SetSize(0);
  array.Append(1);
  array.Append(2);
  array.Insert(1, 7);
  array.RemoveAt(0);
  EXPECT_EQ(array[0], 7);
  EXPECT_EQ(array.Find(2), 1);
  EXPECT_FALSE(array.Insert(9, 1) || array.SetSize(-1));
}

TEST(OPointerArray, DestroysWhatItOwnsAndOnlyThat) {
  struct Counted {
    explicit Counted(int& count) : alive(count) { ++alive; }
    ~Counted() { --alive; }
    int& alive;
  };
  int alive = 0;
  Counted kept(alive);
  {
    OPointerArray<Counted> owned;
    for (int i = 0; i < 3; ++i) owned.Append(new Counted(alive));
    owned.RemoveAt(1);
    delete owned.Detach(0);
    EXPECT_EQ(alive, 2);
    OPointerArray<Counted> moved = std::move(owned);
    OPointerArray<Counted> unowned(OPointerArray<Counted>::Ownership::Kept);
    unowned.Append(&kept);
    unowned.RemoveAt(0);
  }
  EXPECT_EQ(alive, 1);
}

TEST(OStringMap, KeepsKeysInDescendingOrderOfTheirHashes) {
  EXPECT_EQ(OHashMap::Hash(""), 0xD202EF8Du) << "the terminating NUL counts";
  OStringMap<int> map;
  std::map<std::string, int> model;
  std::mt19937 random(3);
  for (int i = 0; i < 3000; ++i) {
    const std::string key = "k" + std::to_string(random() % 400);
    if (random() % 3 == 0) {
      EXPECT_EQ(map.Remove(key.c_str()), model.erase(key) > 0);
    } else {
      map.Set(key.c_str(), i);
      model[key] = i;
    }
  }
  ASSERT_EQ(static_cast<size_t>(map.Size()), model.size());
  for (int i = 0; i < map.Size(); ++i) {
    EXPECT_EQ(map.ValueAt(i), model.at(map.KeyAt(i).Narrow()));
    EXPECT_EQ(map.HashAt(i), OHashMap::Hash(map.KeyAt(i)));
    EXPECT_GE(map.HashAt(std::max(i - 1, 0)), map.HashAt(i));
  }
  // Two keys with one hash: found by their text, the later one first.
  map.Clear();
  map.Set("plumless", 1);
  map.Set("buckeroo", 2);
  ASSERT_EQ(map.HashAt(0), map.HashAt(1));
  EXPECT_EQ(map.KeyAt(0), "buckeroo");
  EXPECT_EQ(*map.Get("plumless"), 1);
  EXPECT_EQ(map.Get("Plumless"), nullptr);
}

}  // namespace
}  // namespace portwise
