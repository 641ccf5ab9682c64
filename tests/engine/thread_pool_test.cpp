#include <gtest/gtest.h>

#include <dirent.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "engine/thread_pool.h"

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

struct CountJob {
  std::atomic<int>* pCounter;
  int nSleepMs;
  HRESULT hrResult;
};

void countWork(void* pJob, HRESULT* pStatus) {
  auto* job = static_cast<CountJob*>(pJob);
  if (job->nSleepMs) std::this_thread::sleep_for(std::chrono::milliseconds(job->nSleepMs));
  job->pCounter->fetch_add(1);
  *pStatus = job->hrResult;
}

}  // namespace

TEST(ThreadPool, InitCapsAtEightAndReinitReplacesThreads) {
  int before = threadsOfProcess();
  CThreadPool pool;
  pool.Init(20);
  EXPECT_EQ(pool.m_nThreads, 8);
  EXPECT_EQ(pool.StartedThreads(), 8);
  EXPECT_EQ(threadsOfProcessSettled(before + 8), before + 8);
  pool.Init(2);  // ends the old eight first
  EXPECT_EQ(pool.m_nThreads, 2);
  EXPECT_EQ(threadsOfProcessSettled(before + 2), before + 2);
  pool.Destroy();
  EXPECT_EQ(pool.m_nThreads, 0);
  EXPECT_EQ(pool.m_pWorkers, nullptr);
  EXPECT_EQ(pool.m_pHandles, nullptr);
  EXPECT_EQ(pool.m_nNext, 0);
  EXPECT_EQ(threadsOfProcessSettled(before), before);
}

TEST(ThreadPool, DestroyOfNeverStartedPoolDoesNothing) {
  CThreadPool pool;
  pool.Destroy();
  pool.Destroy();
  EXPECT_EQ(pool.m_nThreads, 0);
}

TEST(ThreadPool, TwoJobsOnOneWorkerBothComplete) {
  CThreadPool pool;
  pool.Init(1);
  PoolJobs jobs(&pool);
  std::atomic<int> counter{0};
  // The first job keeps the only worker busy, so the second polls until it is idle.
  CountJob a{&counter, 20, S_OK}, b{&counter, 0, E_FAIL};
  void* list[] = {&a, &b};
  HRESULT statuses[PoolJobs::kMaxJobs];
  jobs.Run(2, countWork, list, statuses);
  EXPECT_EQ(counter.load(), 2);
  EXPECT_EQ(statuses[0], S_OK);
  EXPECT_EQ(statuses[1], E_FAIL);
  EXPECT_EQ(PoolJobs::LastFailure(2, statuses), E_FAIL);
}

TEST(ThreadPool, StatusesStartAtInvalidArgForTheFirstJob) {
  CThreadPool pool;
  pool.Init(4);
  PoolJobs jobs(&pool);
  EXPECT_EQ(jobs.Slices(), 4);
  HRESULT statuses[PoolJobs::kMaxJobs];
  // A job that never writes its status leaves the initial values in place.
  void* list[3] = {};
  jobs.Run(3, [](void*, HRESULT*) {}, list, statuses);
  EXPECT_EQ(statuses[0], E_INVALIDARG);
  for (int i = 1; i < PoolJobs::kMaxJobs; ++i) EXPECT_EQ(statuses[i], S_OK);
}

TEST(ThreadPool, ManyRoundsOfEightJobs) {
  CThreadPool pool;
  pool.Init(4);
  PoolJobs jobs(&pool);
  std::atomic<int> counter{0};
  CountJob job[8];
  void* list[8];
  for (int i = 0; i < 8; ++i) {
    job[i] = CountJob{&counter, 0, S_OK};
    list[i] = &job[i];
  }
  HRESULT statuses[PoolJobs::kMaxJobs];
  for (int round = 0; round < 500; ++round) jobs.Run(8, countWork, list, statuses);
  EXPECT_EQ(counter.load(), 8 * 500);
}

TEST(ThreadPool, SliceRangeLastTakesRemainder) {
  int b = 0, e = 0;
  SliceRange(1000, 3, 0, &b, &e);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(e, 333);
  SliceRange(1000, 3, 2, &b, &e);
  EXPECT_EQ(b, 666);
  EXPECT_EQ(e, 1000);
}
