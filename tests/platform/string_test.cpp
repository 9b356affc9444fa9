// CString against std::string, with every argument from far below to far above the string's ends.

#include "qel/platform/mfc/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>

namespace {

// What "cut at the ends" means, told in 64-bit numbers.
std::string NaiveMid(const std::string &s, long first, long count) {
  const long from = std::clamp(first, 0L, static_cast<long>(s.size()));
  const long to = std::clamp(from + std::max(count, 0L), from, static_cast<long>(s.size()));
  return std::string(s.begin() + from, s.begin() + to);
}

int NaiveFind(const std::string &s, const std::string &what, long start) {
  for (long i = std::max(start, 0L); i + static_cast<long>(what.size()) <= static_cast<long>(s.size()); ++i)
    if (std::equal(what.begin(), what.end(), s.begin() + i)) return static_cast<int>(i);
  return -1;
}

std::string Str(const CString &s) {
  return std::string(s, static_cast<size_t>(s.GetLength()));
}

const int kNumbers[] = {INT_MIN, -7, -1, 0, 1, 2, 3, 5, 8, 9, 30, INT_MAX};

TEST(StringTest, PartsAndSearchesMatchStdString) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    std::string s(random() % 10, ' ');
    for (char &c : s) c = static_cast<char>("ab\xC3\xA4"[random() % 4]);
    const CString str(s.c_str());
    const long size = static_cast<long>(s.size());
    ASSERT_EQ(str.GetLength(), size);
    ASSERT_EQ(str.IsEmpty(), s.empty());
    ASSERT_EQ(str.ReverseFind('a'), static_cast<int>(s.rfind('a') + 1) - 1);
    const std::string what = NaiveMid("abba", static_cast<long>(random() % 3), 1 + static_cast<long>(random() % 2));
    for (const int n : kNumbers) {
      EXPECT_EQ(Str(str.Left(n)), NaiveMid(s, 0, n));
      EXPECT_EQ(Str(str.Right(n)), NaiveMid(s, size - std::clamp<long>(n, 0, size), size));
      EXPECT_EQ(Str(str.Mid(n)), NaiveMid(s, n, size));
      EXPECT_EQ(str.GetAt(n), n >= 0 && n < size ? s[static_cast<size_t>(n)] : '\0');
      EXPECT_EQ(str.Find('b', n), NaiveFind(s, "b", n));
      EXPECT_EQ(str.Find(what.c_str(), n), NaiveFind(s, what, n));
      for (const int m : kNumbers) EXPECT_EQ(Str(str.Mid(n, m)), NaiveMid(s, n, m));
    }
  }
}

TEST(StringTest, JoinsAndComparesByBytes) {
  CString str("Pa");
  str += "lette";
  str += '.';
  str += CString("MAP");
  EXPECT_EQ(str, "Palette.MAP");
  EXPECT_EQ(Str("<" + str + ">"), "<Palette.MAP>");
  EXPECT_TRUE(str != "palette.map" && str.Compare("palette.map") < 0);
  EXPECT_EQ(str.CompareNoCase("pALETTE.map"), 0);

  CString lower("\xC3\x84 ABZ[@");  // bytes of other alphabets and neighbours of the letters stay
  lower.MakeLower();
  EXPECT_EQ(lower, "\xC3\x84 abz[@");

  const CString zeros("a\0b", 3);
  EXPECT_EQ(zeros.GetLength(), 3);
  EXPECT_TRUE(zeros != CString("a") && zeros == CString(zeros));
}

TEST(StringTest, NullCountsAsEmpty) {
  const char *pszNull = nullptr;
  CString str(pszNull);
  EXPECT_TRUE(str.IsEmpty() && CString(pszNull, 5).IsEmpty() && CString("text", -1).IsEmpty());
  str = "text";
  str += pszNull;
  EXPECT_EQ(str, "text");
  EXPECT_EQ(str.Find(pszNull), -1);
  EXPECT_GT(str.Compare(pszNull), 0);
  str = pszNull;
  EXPECT_STREQ(str, "");
}

}  // namespace
