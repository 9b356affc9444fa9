// Point containers against the standard library's.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qel/qel.h"

namespace {

using Points = std::vector<std::pair<int, int>>;

Points RandomPoints(int count) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> small(-50, 50);
  Points points;
  for (int i = 0; i < count; ++i) points.emplace_back(small(random), i % 97 ? small(random) : INT32_MIN);
  return points;
}

Points ReadFrom(PPointArray &array, UINT start) {
  Points points;
  POINT pt;
  for (array.SetReadPos(start); array.GetNext(&pt);) points.emplace_back(pt.x, pt.y);
  return points;
}

TEST(PointArray, KeepsReadsAndSortsAnyNumberOfPoints) {
  for (const int count : {0, 1, 1999, 2000, 2001, 9000}) {
    SCOPED_TRACE(count);
    PPointArray array;
    Points points = RandomPoints(count);
    for (const auto &[x, y] : points) ASSERT_TRUE(array.Add(x, y));
    EXPECT_EQ(array.GetCount(), count);
    EXPECT_EQ(ReadFrom(array, 0), points);
    for (const int start : {1, 1999, 2000, 2001, 8999})
      if (start < count)
        EXPECT_EQ(ReadFrom(array, static_cast<UINT>(start)), Points(points.begin() + start, points.end()));
    if (count > 0) EXPECT_EQ(ReadFrom(array, 1000000), Points{points.back()});
    ASSERT_TRUE(array.Sort());
    std::sort(points.begin(), points.end());
    EXPECT_EQ(ReadFrom(array, 0), points);
    array.RemoveAll();
    EXPECT_EQ(ReadFrom(array, 0), Points());
    ASSERT_TRUE(array.Add(-3, 4));
    EXPECT_EQ(ReadFrom(array, 0), Points({{-3, 4}}));
  }
}

TEST(PointStack, GivesPointsBackLastFirst) {
  PPointStack stack;
  POINT pt;
  EXPECT_FALSE(stack.Pop(&pt));
  const Points points = RandomPoints(5000);
  for (const auto &[x, y] : points) ASSERT_TRUE(stack.Push(x, y));
  for (auto p = points.rbegin(); p != points.rend(); ++p) {
    ASSERT_TRUE(stack.Pop(&pt));
    ASSERT_EQ(std::pair(pt.x, pt.y), *p);
  }
  EXPECT_FALSE(stack.Pop(&pt));
}

}  // namespace
