"""Which system calls are failed, and with which errors."""

NO_MEMORY = ["ENOMEM"]
STATUS = ["EIO", "EACCES", "ENOMEM"]
WRITE = ["ENOSPC", "EIO", "EDQUOT", "EINTR"]
READ = ["EIO", "EINTR", "retval=0"]
OPEN = ["EIO", "ENOSPC", "EDQUOT", "EACCES", "EMFILE", "ENFILE", "ENOMEM", "EINTR"]
CLONE = ["EAGAIN", "ENOMEM"]
# What each call can give. A break that cannot be moved is told by its old value, not by an error.
ERRORS = {
    "access": ["EACCES", "EIO"],
    "brk": ["retval=0"],
    "chmod": ["EPERM", "EIO", "EROFS"],
    "fchmodat": ["EPERM", "EIO", "EROFS"],
    "clone": CLONE, "clone3": CLONE, "fork": CLONE, "vfork": CLONE,
    "close": ["EIO", "EINTR", "ENOSPC", "EDQUOT"],
    "dup": ["EMFILE"], "dup2": ["EBUSY", "EMFILE"], "dup3": ["EBUSY", "EMFILE"],
    "execve": ["ENOENT", "EACCES", "EIO", "ENOMEM", "EMFILE", "E2BIG"],
    "fcntl": ["EINVAL", "EMFILE"],
    "fstat": STATUS, "newfstatat": STATUS, "stat": STATUS, "lstat": STATUS, "statx": STATUS,
    "futex": ["EINTR", "EAGAIN"],
    "getcwd": ["ENOENT", "ENOMEM"],
    "getdents64": ["EIO", "ENOENT"],
    "getrandom": ["EINTR", "EAGAIN"],
    "ioctl": ["ENOTTY", "EIO"],
    "lseek": ["EINVAL", "EOVERFLOW"],
    "madvise": ["EINVAL", "ENOMEM"],
    "mkdir": ["ENOSPC", "EIO", "EACCES", "EDQUOT", "EROFS", "ENOMEM"],
    "mmap": ["ENOMEM", "EAGAIN"],
    "mprotect": NO_MEMORY, "munmap": NO_MEMORY, "mremap": NO_MEMORY,
    "open": OPEN, "openat": OPEN,
    "pipe": ["EMFILE", "ENFILE"], "pipe2": ["EMFILE", "ENFILE"],
    "poll": ["EINTR", "ENOMEM"], "ppoll": ["EINTR", "ENOMEM"],
    "pread64": ["EIO", "EINTR", "retval=0"],
    "read": READ, "readv": READ,
    "readlink": ["EIO", "EACCES"],
    "wait4": ["EINTR", "ECHILD"], "waitid": ["EINTR", "ECHILD"],
    "write": WRITE, "writev": WRITE, "pwrite64": WRITE,
}
OTHERWISE = ["EINVAL"]
# They never return, or cannot fail, or belong to the kernel.
EXCLUDED = {"exit", "exit_group", "restart_syscall", "rt_sigreturn", "getpid", "gettid", "getppid",
            "getuid", "geteuid", "getgid", "getegid", "set_tid_address", "umask"}


def faults_of(call, kill):
    return ["SIGKILL"] if kill else ERRORS.get(call, OTHERWISE)
