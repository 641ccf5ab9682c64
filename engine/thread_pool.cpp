#include "engine/thread_pool.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>

#include "engine/trace.h"

namespace Orvel {

void CThreadPool::Init(int nThreads) {
  Destroy();
  m_nThreads = std::min(nThreads, 8);
  if (m_nThreads <= 0) {
    m_nThreads = 0;
    return;
  }
  m_pWorkers = new (std::nothrow) WorkerRecord[m_nThreads];
  m_pHandles = new (std::nothrow) pthread_t[m_nThreads];
  m_pStarted = new (std::nothrow) bool[m_nThreads];
  // A failed allocation leaves a null array and a count that no tool can use.
  if (!m_pWorkers || !m_pHandles || !m_pStarted) return;

  for (int i = 0; i < m_nThreads; ++i) {
    WorkerRecord& w = m_pWorkers[i];
    w.nState.store(1);
    w.nStop = 0;
    w.bWake = 0;
    w.pfnWork = nullptr;
    w.pJob = nullptr;
    w.pDoneCond = nullptr;
    w.pDoneMutex = nullptr;
    w.pStatus = nullptr;
    w.pDone = nullptr;
    pthread_cond_init(&w.Cond, nullptr);
    pthread_mutex_init(&w.Mutex, nullptr);
  }
  for (int i = 0; i < m_nThreads; ++i) {
    m_pStarted[i] = pthread_create(&m_pHandles[i], nullptr, &CThreadPool::ThreadBody,
                                   &m_pWorkers[i]) == 0;
    if (m_pStarted[i]) ++m_nStarted;
  }
}

void* CThreadPool::ThreadBody(void* pArg) {
  auto* w = static_cast<WorkerRecord*>(pArg);
  if (!w) return reinterpret_cast<void*>(intptr_t(E_POINTER));
  for (;;) {
    pthread_mutex_lock(&w->Mutex);
    w->nState.store(0, std::memory_order_release);
    // The loop (rather than a single wait) makes a spurious wake-up harmless: the thread
    // leaves only for a job that was handed over or for teardown.
    while (w->bWake == 0 && w->nState.load(std::memory_order_acquire) == 0)
      pthread_cond_wait(&w->Cond, &w->Mutex);
    bool stop = w->nStop == 1;
    pthread_mutex_unlock(&w->Mutex);
    if (stop) break;

    if (w->nState.load(std::memory_order_acquire) == 1) {
      if (w->pfnWork) w->pfnWork(w->pJob, w->pStatus);
      pthread_mutex_lock(w->pDoneMutex);
      if (w->pDone) *w->pDone = 1;
      pthread_cond_signal(w->pDoneCond);
      pthread_mutex_unlock(w->pDoneMutex);
    }
  }
  return nullptr;
}

void CThreadPool::Destroy() {
  if (m_nThreads > 0 && m_pWorkers && m_pHandles && m_pStarted) {
    for (int i = 0; i < m_nThreads; ++i) {
      WorkerRecord& w = m_pWorkers[i];
      pthread_mutex_lock(&w.Mutex);
      w.nStop = 1;
      w.bWake = 1;
      pthread_cond_signal(&w.Cond);
      pthread_mutex_unlock(&w.Mutex);
    }
    for (int i = 0; i < m_nThreads; ++i) {
      if (!m_pStarted[i] || pthread_equal(m_pHandles[i], pthread_self()) ||
          pthread_join(m_pHandles[i], nullptr) != 0) {
        Trace("[CThreadPool] thread destroy fail!!!");
      }
    }
    for (int i = 0; i < m_nThreads; ++i) {
      WorkerRecord& w = m_pWorkers[i];
      pthread_cond_destroy(&w.Cond);
      pthread_mutex_destroy(&w.Mutex);
      w.pfnWork = nullptr;
      w.pJob = nullptr;
      w.pDoneCond = nullptr;
      w.pDoneMutex = nullptr;
      w.pStatus = nullptr;
      w.pDone = nullptr;
    }
  }
  delete[] m_pWorkers;
  delete[] m_pHandles;
  delete[] m_pStarted;
  m_pWorkers = nullptr;
  m_pHandles = nullptr;
  m_pStarted = nullptr;
  m_nThreads = 0;
  m_nStarted = 0;
  m_nNext = 0;
}

PoolJobs::PoolJobs(CThreadPool* pPool) : m_pPool(pPool) {
  for (int i = 0; i < kMaxJobs; ++i) {
    pthread_cond_init(&m_Cond[i], nullptr);
    pthread_mutex_init(&m_Mutex[i], nullptr);
  }
}

PoolJobs::~PoolJobs() {
  for (int i = 0; i < kMaxJobs; ++i) {
    pthread_cond_destroy(&m_Cond[i]);
    pthread_mutex_destroy(&m_Mutex[i]);
  }
}

int PoolJobs::Slices() const {
  if (!m_pPool) return 0;
  return std::min<int>(m_pPool->m_nThreads, kMaxJobs);
}

void PoolJobs::Run(int n, WorkFn fn, void* const* jobs, HRESULT statuses[kMaxJobs]) {
  for (int i = 0; i < kMaxJobs; ++i) statuses[i] = i == 0 ? E_INVALIDARG : S_OK;
  n = std::min(n, kMaxJobs);
  CThreadPool* pool = m_pPool;
  if (!pool || pool->m_nThreads <= 0 || !pool->m_pWorkers || pool->StartedThreads() == 0) {
    for (int i = 0; i < n; ++i) fn(jobs[i], &statuses[i]);
    return;
  }

  for (int i = 0; i < n; ++i) {
    pthread_mutex_lock(&m_Mutex[i]);
    m_Done[i] = 0;
    WorkerRecord* w = nullptr;
    for (;;) {
      for (int k = 0; k < pool->m_nThreads; ++k) {
        pool->m_nNext = (pool->m_nNext + 1) % pool->m_nThreads;
        if (pool->m_pWorkers[pool->m_nNext].nState.load(std::memory_order_acquire) == 0) {
          w = &pool->m_pWorkers[pool->m_nNext];
          break;
        }
      }
      if (w) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    w->pfnWork = fn;
    w->pJob = jobs[i];
    w->pDoneCond = &m_Cond[i];
    w->pDoneMutex = &m_Mutex[i];
    w->pStatus = &statuses[i];
    w->pDone = &m_Done[i];
    // Published after the fields, so a worker that wakes early never sees a half-set job.
    w->nState.store(1, std::memory_order_release);
    pthread_mutex_lock(&w->Mutex);
    pthread_cond_signal(&w->Cond);
    pthread_mutex_unlock(&w->Mutex);
    // Mutex i is not held across the search for the next worker: a worker that finishes job
    // i needs it to report, and if that worker is the only one, holding it would deadlock.
    // The done flag, set under mutex i, keeps the report from being lost.
    pthread_mutex_unlock(&m_Mutex[i]);
  }

  for (int i = 0; i < n; ++i) {
    pthread_mutex_lock(&m_Mutex[i]);
    while (!m_Done[i]) pthread_cond_wait(&m_Cond[i], &m_Mutex[i]);
    pthread_mutex_unlock(&m_Mutex[i]);
  }
}

HRESULT PoolJobs::LastFailure(int n, const HRESULT statuses[kMaxJobs]) {
  HRESULT hr = S_OK;
  for (int i = 0; i < std::min(n, kMaxJobs); ++i)
    if (statuses[i] < 0) hr = statuses[i];
  return hr;
}

}  // namespace Orvel
