// Fixed set of worker threads. There is no queue: a job goes to an idle worker, and the
// submitting tool polls for one with a pause of 1 ms.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "orvel/types.h"

namespace Orvel {

using WorkFn = void (*)(void* pJob, HRESULT* pStatus);

struct WorkerRecord {
  std::atomic<int32_t> nState{1};  // 0 idle, 1 busy; busy until the thread reaches its wait
  int32_t nStop = 0;               // 1 asks the thread to end
  WorkFn pfnWork = nullptr;
  void* pJob = nullptr;
  pthread_cond_t Cond;
  pthread_mutex_t Mutex;
  pthread_cond_t* pDoneCond = nullptr;
  pthread_mutex_t* pDoneMutex = nullptr;
  HRESULT* pStatus = nullptr;
  int32_t bWake = 0;  // 1 at teardown: the thread must not go back to waiting
  // Set to 1 under *pDoneMutex when the job has finished, so that the waiting tool can tell
  // a real completion from a spurious wake-up of its condition variable.
  int32_t* pDone = nullptr;
};

class CThreadPool {
 public:
  CThreadPool() = default;
  ~CThreadPool() { Destroy(); }
  CThreadPool(const CThreadPool&) = delete;
  CThreadPool& operator=(const CThreadPool&) = delete;

  // Ends any earlier set of threads, then starts min(nThreads, 8).
  void Init(int nThreads);
  // Stops and joins all threads; a pool never started is left as it is.
  void Destroy();

  int32_t m_nThreads = 0;
  WorkerRecord* m_pWorkers = nullptr;
  pthread_t* m_pHandles = nullptr;
  int32_t m_nNext = 0;

  // Number of threads actually started (a failed start is passed over).
  int32_t StartedThreads() const { return m_nStarted; }

 private:
  static void* ThreadBody(void* pArg);
  bool* m_pStarted = nullptr;
  int32_t m_nStarted = 0;
};

// The per-tool half of the submission protocol: eight job slots, each with its own
// condition variable and mutex, set up once with the tool and torn down with it.
class PoolJobs {
 public:
  static constexpr int kMaxJobs = 8;

  explicit PoolJobs(CThreadPool* pPool);
  ~PoolJobs();
  PoolJobs(const PoolJobs&) = delete;
  PoolJobs& operator=(const PoolJobs&) = delete;

  CThreadPool* Pool() const { return m_pPool; }
  // min(pool's threads, 8); 0 when there is no pool.
  int Slices() const;

  // Runs job i = 0..n-1 as fn(jobs[i], &statuses[i]) on idle workers, then waits for all of
  // them in order. Statuses start with element 0 at E_INVALIDARG and the others at 0. With
  // no running pool the jobs run on the calling thread.
  void Run(int n, WorkFn fn, void* const* jobs, HRESULT statuses[kMaxJobs]);

  // The last negative status of a finished Run, or S_OK.
  static HRESULT LastFailure(int n, const HRESULT statuses[kMaxJobs]);

 private:
  CThreadPool* m_pPool;
  pthread_cond_t m_Cond[kMaxJobs];
  pthread_mutex_t m_Mutex[kMaxJobs];
  int32_t m_Done[kMaxJobs] = {};
};

// The usual cut: slice = extent / n, slice i from i x slice, the last one to the extent.
inline void SliceRange(int extent, int n, int i, int* pBegin, int* pEnd) {
  int slice = extent / n;
  *pBegin = i * slice;
  *pEnd = (i == n - 1) ? extent : (i + 1) * slice;
}

}  // namespace Orvel
