// Preloaded into a host so that a tracer can be attached at a moment of its choosing.
//
// A tracer's count of system calls starts when it attaches, separately for each thread. The calls
// of a thread that starts late could otherwise never be failed alone: the same number hits the main
// thread first, in the dynamic loader. FAULT_GATE says where the process halts:
//
//   thread  the first thread that the program starts, before it runs
//   fork    the first child process, before it does anything
//
// FAULT_GATE_OUT and FAULT_GATE_IN name two FIFOs: the gate writes the id of the halted thread to
// the first and goes on when the second yields a byte. FAULT_SHORT_WRITES=1, independent of that,
// makes each write to a file transfer half of what was asked for.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<bool> passed{false};

bool halts(const char* place) {
    const char* const wanted = std::getenv("FAULT_GATE");
    return wanted != nullptr && std::strcmp(wanted, place) == 0 && !passed.exchange(true);
}

void halt() {
    const int in = open(std::getenv("FAULT_GATE_IN"), O_RDONLY | O_CLOEXEC);
    const int out = open(std::getenv("FAULT_GATE_OUT"), O_WRONLY | O_CLOEXEC);
    char text[32];
    const int length = std::snprintf(text, sizeof(text), "%ld\n", syscall(SYS_gettid));
    if (write(out, text, static_cast<std::size_t>(length)) != length) {
        std::abort();
    }
    // This read may be the first call that the tracer makes fail.
    char byte = 0;
    while (read(in, &byte, 1) != 1) {
    }
    // Both stay open: to close them would be counted with the calls of the program.
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

struct Start {
    void* (*routine)(void*);
    void* argument;
};

void* startBehindGate(void* argument) {
    const Start start = *static_cast<Start*>(argument);
    delete static_cast<Start*>(argument);
    halt();
    return start.routine(start.argument);
}

// Small writes to pipes are never divided: their readers may rely on that.
bool shortens(int descriptor) {
    static const bool wanted = std::getenv("FAULT_SHORT_WRITES") != nullptr;
    struct stat status {};
    return wanted && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                   void* argument) {
    static const auto create = next<decltype(&pthread_create)>("pthread_create");
    if (!halts("thread")) {
        return create(thread, attributes, routine, argument);
    }
    return create(thread, attributes, startBehindGate, new Start{routine, argument});
}

pid_t fork() {
    static const auto realFork = next<pid_t (*)()>("fork");
    const bool halted = halts("fork");
    const pid_t child = realFork();
    if (child == 0 && halted) {
        // What the child becomes is to make its own calls and no others.
        unsetenv("LD_PRELOAD");
        halt();
    }
    return child;
}

ssize_t write(int descriptor, const void* data, std::size_t size) {
    static const auto realWrite = next<decltype(&write)>("write");
    return realWrite(descriptor, data, shortens(descriptor) && size > 1 ? size / 2 : size);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
    static const auto realWritev = next<decltype(&writev)>("writev");
    if (!shortens(descriptor) || count == 0) {
        return realWritev(descriptor, pieces, count);
    }
    iovec first = pieces[0];
    if (first.iov_len > 1) {
        first.iov_len /= 2;
    }
    return realWritev(descriptor, &first, 1);
}

}  // extern "C"
