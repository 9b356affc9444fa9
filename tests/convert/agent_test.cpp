// Conversion agents: the method check over every pair, refusals, and what rebuilding and failing leave behind.

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "qel/platform/gdi/palette.h"
#include "qel/platform/kernel/global_memory.h"
#include "support/agent.h"
#include "support/pixels.h"

namespace {

using test::Agent;

/// An image of a type, with the standard palette or with nColors (1 to 256) reds.
void Create(PQel &image, int type, int nColors) {
  RGBQUAD reds[256];
  for (int i = 0; i < 256; ++i) reds[i] = {1, 2, static_cast<BYTE>(i), 0};
  ASSERT_TRUE(image.CreateImage(type, 9, 5, nColors, nColors ? reds : nullptr, 1, 1, 1, 0, 0));
  ASSERT_EQ(image.GetImageType(), type);
}

int Build(Agent &agent, PQel &dst, PQel &src, int method, int type = 0, int size = 8) {
  return agent.BuildAgent(
      &dst, &src,
      {static_cast<unsigned short>(method), static_cast<unsigned short>(type), static_cast<unsigned short>(size)});
}

// Method check -------------------------------------------------------------------------------------------------------

/// What methods 0 to 8 become, x: the pair is refused.
const std::string kReject = "xxxxxxxxx", kSet0 = "000000000", kSet6 = "666666666", kKeep4 = "000040000",
                  kKeep5 = "000005000", kKeep04 = "022242222", kFew = "002342228", kTrueFew = "0023x2228",
                  kTrueMany = "0123x1128";

const std::string *const kExpected[6][6] = {
    {&kReject, &kSet6, &kSet0, &kSet0, &kKeep5, &kKeep5}, {&kTrueFew, &kReject, &kTrueFew, &kTrueMany, &kSet0, &kSet0},
    {&kFew, &kSet6, &kKeep4, &kSet0, &kSet0, &kSet0},     {&kFew, &kSet6, &kFew, &kKeep04, &kKeep4, &kKeep4},
    {&kFew, &kSet6, &kKeep4, &kSet0, &kReject, &kSet0},   {&kFew, &kSet6, &kKeep04, &kKeep04, &kSet0, &kReject},
};

TEST(AgentCheck, CorrectsTheMethodOfEveryPair) {
  for (int s = 0; s < 6; ++s) {
    for (int d = 0; d < 6; ++d) {
      const bool canOwn = d == 0 || d == 2 || d == 3;  // grays are standard, true colour has none
      for (int nColors : {0, canOwn ? PQel::GetMaxClrUsed(d) : 0, canOwn && d != 0 ? 7 : 0}) {
        PQel src, dst;
        Create(src, s, 0);
        Create(dst, d, nColors);
        for (int method = 0; method <= 8; ++method) {
          char expected = (*kExpected[s][d])[static_cast<std::size_t>(method)];
          if (nColors != 0 && expected == '3') expected = d == 3 && s == 1 ? '1' : '2';
          if (nColors == 7 && expected == '1') expected = '0';  // no room for a custom palette
          Agent agent;
          const int built = Build(agent, dst, src, method);
          EXPECT_EQ(built, expected != 'x');
          const int result = built ? agent.m_cvtMethod.wMethod + '0' : 'x';
          EXPECT_EQ(static_cast<char>(result), expected) << s << " to " << d << " method " << method;
          // a dither record is looked at by ordered dither alone
          for (const auto &[type, size] : {std::pair{0, 6}, {6, 8}, {0, 0}, {65535, 65535}})
            EXPECT_EQ(Build(agent, dst, src, method, type, size), expected != 'x' && expected != '3');
        }
      }
    }
  }
}

TEST(AgentCheck, RefusesWhatIsNoPair) {
  PQel good, empty, deep;
  Create(good, 2, 0);
  Create(deep, 6, 0);
  Agent agent;
  EXPECT_EQ(agent.BuildAgent(nullptr, &good, {0, 0, 0}), 0);
  EXPECT_EQ(agent.BuildAgent(&good, nullptr, {0, 0, 0}), 0);
  for (PQel *pBad : {&empty, &deep}) EXPECT_FALSE(Build(agent, good, *pBad, 0) || Build(agent, *pBad, good, 0));
}

// Life ---------------------------------------------------------------------------------------------------------------

TEST(AgentLife, RebuildingFailingAndFreeingReleaseEverything) {
  PQel src, dst;
  Create(src, 3, 0);
  Create(dst, 2, 16);
  for (int end = 0; end < 4; ++end) {
    Agent agent;
    ASSERT_EQ(Build(agent, dst, src, 2), 1);
    const HGLOBAL blocks[] = {agent.m_hMapBuf, agent.m_hErrBuf1, agent.m_hErrBuf2};
    const HPALETTE palettes[] = {agent.m_hSrcPal, agent.m_hDstPal};
    EXPECT_EQ(GlobalSize(blocks[0]), 3 * (256 + 16 + 1536));
    EXPECT_EQ(GlobalSize(blocks[1]), 12 * (9 + 1));
    EXPECT_EQ(PQel::GetColorNum(palettes[0]), 256);
    if (end == 0) agent.FreeAgent(0);
    if (end == 1) EXPECT_EQ(agent.BuildAgent(&dst, nullptr, {0, 0, 0}), 0);
    if (end == 2) agent.~Agent(), new (&agent) Agent;
    if (end == 3) {
      PQel gray;
      Create(gray, 5, 0);
      EXPECT_EQ(Build(agent, gray, gray, 0), 0);  // refused after its palettes are taken
    }
    EXPECT_EQ(agent.m_bAgent, 0);
    EXPECT_EQ(agent.m_hMapBuf, nullptr);
    EXPECT_EQ(agent.m_hSrcPal, nullptr);
    EXPECT_EQ(agent.m_nSrcColors, 2);
    for (HGLOBAL h : blocks) EXPECT_EQ(GlobalSize(h), 0);
    for (HPALETTE h : palettes) EXPECT_EQ(PQel::GetColorNum(h), 0);
    EXPECT_EQ(Build(agent, dst, src, 0), 1);
  }
}

TEST(AgentLife, TakesPalettesOfAllThatAPixelCanName) {
  PQel src, dst;
  Create(src, 3, 200);
  Create(dst, 0, 256);  // a table longer than its pixels need
  Agent agent;
  ASSERT_EQ(Build(agent, dst, src, 0), 1);
  EXPECT_EQ(agent.m_nSrcColors, 200);
  EXPECT_EQ(agent.m_nDstColors, 2);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(agent.m_pbyMap[i], i > 0);  // reds 0 and 1
}

}  // namespace
