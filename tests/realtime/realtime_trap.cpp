#include "tests/realtime/realtime_trap.h"

#include <dlfcn.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <thread>

// The C library's own functions, under the names that it provides for replacements such as these.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

namespace {

constexpr std::size_t kMostNoted = 16;

struct Offence {
  const char* name;  // null: a system call
  int number;
};

std::array<Offence, kMostNoted> offences;
std::atomic<std::size_t> offenceCount{0};

thread_local bool watched = false;
thread_local const void* blocksOwn = nullptr;

void Note(const char* name, int number = 0) {
  const std::size_t index = offenceCount.fetch_add(1);
  if (index < kMostNoted) offences[index] = {name, number};
}

void NoteIfWatched(const char* name) {
  if (watched) Note(name);
}

void NoteLock(const char* name, const void* lock) {
  if (!watched) return;
  if (!blocksOwn) blocksOwn = lock;
  if (lock != blocksOwn) Note(name);
}

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  NoteIfWatched("malloc");
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  NoteIfWatched("calloc");
  return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
  NoteIfWatched("realloc");
  return __libc_realloc(memory, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
  NoteIfWatched("memalign");
  return __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  NoteIfWatched("aligned_alloc");
  return __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
  NoteIfWatched("posix_memalign");
  *memory = __libc_memalign(alignment, size);
  return *memory ? 0 : ENOMEM;
}
void free(void* memory) {
  if (memory) NoteIfWatched("free");
  __libc_free(memory);
}

void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) {
  static auto* const next = Next<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
  NoteIfWatched("mmap");
  return next(address, size, protection, flags, file, offset);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_lock");
  NoteLock("pthread_mutex_lock", mutex);
  return next(mutex);
}
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
  static auto* const next = Next<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
  NoteIfWatched("pthread_rwlock_rdlock");
  return next(lock);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
  static auto* const next = Next<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
  NoteIfWatched("pthread_rwlock_wrlock");
  return next(lock);
}
int pthread_spin_lock(pthread_spinlock_t* lock) {
  static auto* const next = Next<int(pthread_spinlock_t*)>("pthread_spin_lock");
  NoteIfWatched("pthread_spin_lock");
  return next(lock);
}
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  static auto* const next = Next<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
  NoteIfWatched("pthread_cond_wait");
  return next(condition, mutex);
}
int sem_wait(sem_t* semaphore) {
  static auto* const next = Next<int(sem_t*)>("sem_wait");
  NoteIfWatched("sem_wait");
  return next(semaphore);
}
}

namespace halveron::testing {

namespace {

void OnRefusedCall(int, siginfo_t* info, void* context) {
  Note(nullptr, info->si_syscall);
  static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RAX] = -EPERM;
}

/// Until this thread ends.
bool RefuseSystemCalls() {
  // What a thread needs to end, and a signal handler to return; and the calls of the memory
  // functions, which are watched themselves and cannot do without.
  constexpr int kAllowed[] = {SYS_rt_sigreturn, SYS_rt_sigprocmask, SYS_exit,
                              SYS_exit_group,   SYS_mmap,           SYS_mprotect,
                              SYS_munmap,       SYS_madvise,        SYS_brk};
  constexpr auto kAllowedCount = std::size(kAllowed);
  std::array<sock_filter, kAllowedCount + 3> program{};
  program[0] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
  for (std::size_t i = 0; i < kAllowedCount; ++i) {
    const auto toEnd = static_cast<unsigned char>(kAllowedCount - i);
    program[i + 1] =
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kAllowed[i]), toEnd, 0);
  }
  program[kAllowedCount + 1] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
  program[kAllowedCount + 2] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

}  // namespace

RealtimeTrap::RealtimeTrap() {
  blocksOwn = nullptr;
  watched = true;
}

RealtimeTrap::~RealtimeTrap() { watched = false; }

std::vector<std::string> TakeOffences() {
  std::vector<std::string> names;
  const std::size_t count = offenceCount.exchange(0);
  for (std::size_t i = 0; i < std::min(count, kMostNoted); ++i) {
    const Offence& offence = offences[i];
    names.emplace_back(offence.name ? offence.name
                                    : "system call " + std::to_string(offence.number));
  }
  return names;
}

bool RunWithoutSystemCalls(const std::function<void()>& work) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_sigaction = OnRefusedCall;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSYS, &action, &before);
  bool refused = false;
  std::thread([&] {
    // The first allocation of a thread makes system calls.
    __libc_free(__libc_malloc(1));
    refused = RefuseSystemCalls();
    work();
  }).join();
  sigaction(SIGSYS, &before, nullptr);
  return refused;
}

}  // namespace halveron::testing
