#include "Sandbox.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <vector>

#include "Process.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORVANE_SANITIZED 1
#else
#define CORVANE_SANITIZED 0
#endif

namespace Norv::Corvane::Test {
namespace {

bool emulated() {
    return !emulator().empty();
}

// Runs the work in a child process and waits for it.
bool runs(const std::function<void()>& work) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            work();
        } catch (...) {
            ::_exit(2);
        }
        ::_exit(0);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Usage usageNow() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return {true, secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) * 1024};
}

// Not every architecture has all of them.
std::vector<unsigned> openingCalls() {
    return {
#ifdef __NR_open
        __NR_open, __NR_creat,
#endif
#ifdef __NR_openat2
        __NR_openat2,
#endif
        __NR_openat, __NR_open_by_handle_at};
}

// A new process must not come about: the call is fatal to whoever makes it, not to its parent.
std::vector<unsigned> reachingCalls() {
    return {
#ifdef __NR_fork
        __NR_fork,           __NR_vfork,
#endif
#ifdef __NR_clone3
        __NR_clone3,
#endif
#ifdef __NR_io_uring_setup
        __NR_io_uring_setup,
#endif
#ifdef __NR_unlink
        __NR_unlink,         __NR_rmdir,     __NR_rename,   __NR_mkdir,    __NR_link,
        __NR_symlink,        __NR_mknod,     __NR_chmod,    __NR_chown,
#endif
#ifdef __NR_truncate64
        __NR_truncate64,     __NR_chown32,
#endif
#ifdef __NR_renameat
        __NR_renameat,
#endif
        __NR_clone,          __NR_execve,    __NR_execveat, __NR_socket,   __NR_connect,
        __NR_unlinkat,       __NR_renameat2, __NR_mkdirat,  __NR_linkat,   __NR_symlinkat,
        __NR_mknodat,        __NR_fchmodat,  __NR_fchownat, __NR_truncate, __NR_kill,
        __NR_tkill,          __NR_ptrace};
}

// Makes each of the calls fatal to this process.
bool forbid(const std::vector<unsigned>& calls) {
    std::vector<sock_filter> filter = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)}};
    for (const unsigned call : calls) {
        // To the next instruction if it is this one, else to the one after that.
        filter.push_back({BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call});
        filter.push_back({BPF_RET | BPF_K, 0, 0, SECCOMP_RET_KILL_PROCESS});
    }
    filter.push_back({BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW});
    sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

Usage measured(const std::function<void()>& work) {
    // Memory that was freed before must not hide what the work takes.
    ::malloc_trim(0);
    auto* const result = static_cast<Usage*>(
        ::mmap(nullptr, sizeof(Usage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const bool finished = runs([&] {
        const Usage before = usageNow();
        work();
        const Usage after = usageNow();
        *result = {true, after.seconds - before.seconds, after.memory - before.memory};
    });
    const Usage usage = finished ? *result : Usage();
    ::munmap(result, sizeof(Usage));
    return usage;
}

bool staysInside(const std::function<void()>& work) {
    return runs([&] {
        if ((seesReaching() && !forbid(reachingCalls())) ||
            (seesOpening() && !forbid(openingCalls()))) {
            ::_exit(3);
        }
        work();
    });
}

bool worksWithin(std::size_t bytes, const std::function<void()>& work) {
    return runs([&] {
        rlimit limit{};
        long pages = 0;
        if (std::FILE* const status = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(status, "%ld", &pages) != 1) {
                ::_exit(3);
            }
            std::fclose(status);
        }
        limit.rlim_cur = limit.rlim_max =
            static_cast<rlim_t>(pages) * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytes;
        if (measuresMemory() && ::setrlimit(RLIMIT_AS, &limit) != 0) {
            ::_exit(3);
        }
        work();
    });
}

bool seesOpening() {
    return seesReaching() && CORVANE_SANITIZED == 0;
}

bool seesReaching() {
    return !emulated();
}

double slowness() {
    if (underValgrind()) {
        return 50;
    }
    return emulated() || CORVANE_SANITIZED != 0 ? 10 : 1;
}

bool measuresMemory() {
    return !emulated() && CORVANE_SANITIZED == 0;
}

}  // namespace Norv::Corvane::Test
