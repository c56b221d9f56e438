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

constexpr sock_filter load(unsigned offset) {
    return {BPF_LD | BPF_W | BPF_ABS, 0, 0, offset};
}

// Goes `jump` instructions further when the call is this one.
constexpr sock_filter on(unsigned call, unsigned char jump) {
    return {BPF_JMP | BPF_JEQ | BPF_K, jump, 0, call};
}

constexpr sock_filter end(unsigned action) {
    return {BPF_RET | BPF_K, 0, 0, action};
}

bool forbidOpening() {
    sock_filter filter[] = {load(offsetof(seccomp_data, nr)),
#ifdef __NR_open
                            on(__NR_open, 6),
#else
                            on(__NR_openat, 6),
#endif
                            on(__NR_openat, 5),
                            on(__NR_socket, 4),
                            on(__NR_connect, 3),
                            on(__NR_execve, 2),
                            on(__NR_clone, 1),
                            end(SECCOMP_RET_ALLOW),
                            end(SECCOMP_RET_KILL_PROCESS)};
    sock_fprog program{sizeof filter / sizeof filter[0], filter};
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
        if (slowness() < 2 && !forbidOpening()) {
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
