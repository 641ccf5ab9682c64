#include <gtest/gtest.h>

#include <dirent.h>

#include <chrono>
#include <memory>
#include <thread>

#include "engine/COrvel.h"
#include "engine/cpu.h"

using namespace Orvel;

namespace {
int threadsOfProcess() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/task")) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

// A joined thread can stay listed for a moment while the kernel reaps it; wait for the count
// to settle rather than reading it once.
int threadsOfProcessSettled(int expected) {
  int n = threadsOfProcess();
  for (int i = 0; i < 200 && n != expected; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    n = threadsOfProcess();
  }
  return n;
}
}  // namespace

TEST(Engine, InstanceNumbersCountUpAcrossDeletes) {
  auto first = std::make_unique<COrvel>();
  uint32_t id1 = first->m_nInstanceId;
  first.reset();
  auto second = std::make_unique<COrvel>();
  EXPECT_EQ(second->m_nInstanceId, id1 + 1);
  auto third = std::make_unique<COrvel>();
  EXPECT_EQ(third->m_nInstanceId, id1 + 2);
}

TEST(Engine, LiveCountFollowsConstructionAndDestruction) {
  int before = g_nLiveEngines.load();
  {
    COrvel a, b;
    EXPECT_EQ(g_nLiveEngines.load(), before + 2);
  }
  EXPECT_EQ(g_nLiveEngines.load(), before);
}

TEST(Engine, CreatedAndDeletedAtOnceEndsItsFourThreads) {
  int before = threadsOfProcess();
  auto engine = std::make_unique<COrvel>();
  EXPECT_EQ(engine->m_ThreadPool.m_nThreads, 4);
  EXPECT_EQ(threadsOfProcessSettled(before + 4), before + 4);
  engine.reset();
  EXPECT_EQ(threadsOfProcessSettled(before), before);
}

TEST(Engine, FastPathsFollowTheProcessorLevel) {
  COrvel engine;
  bool fast = GetProcessorLevel() >= kFastPathLevel;
  EXPECT_EQ(engine.ProcessorLevel(), GetProcessorLevel());
  EXPECT_EQ(engine.m_BlendTool.m_nTableIndex, fast ? 1 : 0);
  EXPECT_EQ(engine.m_ColorMatch.m_bUseSimd, fast);
  EXPECT_EQ(engine.m_FillTool.m_magic_wand.m_bFastPath, fast);
  engine.SetFastPaths(false);
  EXPECT_EQ(engine.m_BlendTool.m_nTableIndex, 0);
  EXPECT_FALSE(engine.m_MaskTool.m_bFastPath);
}

TEST(Engine, ShapeToolIsMadeOnFirstNeedOnly) {
  COrvel engine;
  EXPECT_EQ(engine.m_pShapeTool, nullptr);
  CShapeTool* tool = engine.GetShapeTool();
  ASSERT_NE(tool, nullptr);
  EXPECT_EQ(engine.GetShapeTool(), tool);
  EXPECT_EQ(tool->m_nInstanceId, engine.m_nInstanceId);
}

TEST(Engine, ReleaseScratchFreesAOnly) {
  COrvel engine;
  uint8_t* p = nullptr;
  ASSERT_EQ(AcquireScratch(engine.m_ScratchA, 1000, &p), S_OK);
  ASSERT_EQ(AcquireScratch(engine.m_ScratchB, 1000, &p), S_OK);
  EXPECT_EQ(engine.ReleaseScratch(), S_OK);
  EXPECT_EQ(engine.m_ScratchA.pData, nullptr);
  EXPECT_EQ(engine.m_ScratchA.nCapacity, 0u);
  EXPECT_NE(engine.m_ScratchB.pData, nullptr);
}

TEST(Engine, ProcessorLevelIsInRange) {
  int level = GetProcessorLevel();
  EXPECT_GE(level, 0);
  EXPECT_LE(level, 6);
}
