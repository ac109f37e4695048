#include "platform/barcode/isolation/DecoderSandbox.h"

#include "platform/barcode/isolation/DecoderLimits.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform::decoder {
namespace {

constexpr int descriptorLimit = 16;

int limit(__rlimit_resource resource, rlim_t value)
{
    const rlimit both{ value, value };
    return ::setrlimit(resource, &both) == 0 ? 0 : errno;
}

int limitResources()
{
    int error = limit(RLIMIT_NOFILE, descriptorLimit);
    if (isSanitized) {
        return error;
    }
    for (const auto resource : { RLIMIT_CORE, RLIMIT_FSIZE, RLIMIT_NPROC, RLIMIT_MEMLOCK }) {
        error = error != 0 ? error : limit(resource, 0);
    }
    return error != 0 ? error : limit(RLIMIT_AS, rlim_t(memoryLimit));
}

/// An allow-list of system calls; the first failure is kept, as an errno.
class Filter {
public:
    Filter()
        : m_context(seccomp_init(SCMP_ACT_KILL_PROCESS))
    {
        m_error = m_context != nullptr ? 0 : ENOMEM;
        keep(seccomp_attr_set(context(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
    }

    template <typename... Conditions> void allow(int call, Conditions... conditions)
    {
        add(SCMP_ACT_ALLOW, call, conditions...);
    }
    void refuse(int call) { add(SCMP_ACT_ERRNO(EACCES), call); }
    void load() { keep(seccomp_load(context())); }

    int error() const { return m_error; }

private:
    template <typename... Conditions>
    void add(std::uint32_t action, int call, Conditions... conditions)
    {
        const std::array<scmp_arg_cmp, sizeof...(conditions)> all{ conditions... };
        keep(seccomp_rule_add_array(context(), action, call, all.size(), all.data()));
    }

    scmp_filter_ctx context() const { return m_context.get(); }
    void keep(int result) { m_error = m_error != 0 ? m_error : -result; }

    struct Release {
        void operator()(void* context) const { seccomp_release(context); }
    };
    std::unique_ptr<void, Release> m_context;
    int m_error = 0;
};

scmp_arg_cmp argumentIs(unsigned index, scmp_datum_t value)
{
    return { index, SCMP_CMP_EQ, value, 0 };
}

scmp_arg_cmp argumentLacks(unsigned index, scmp_datum_t bits)
{
    return { index, SCMP_CMP_MASKED_EQ, bits, 0 };
}

void allowMessages(Filter& filter, int socket)
{
    for (const int call : { SCMP_SYS(recvmsg), SCMP_SYS(sendmsg) }) {
        filter.allow(call, argumentIs(0, scmp_datum_t(socket)));
    }
    filter.allow(SCMP_SYS(close)); // of the descriptors that came along
    for (const int call : { SCMP_SYS(write), SCMP_SYS(writev) }) {
        filter.allow(call, argumentIs(0, STDERR_FILENO));
    }
}

void allowMemory(Filter& filter)
{
    for (const int call : { SCMP_SYS(mmap), SCMP_SYS(mprotect) }) {
        filter.allow(call, argumentLacks(2, PROT_EXEC));
    }
    for (const int call :
        { SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(brk), SCMP_SYS(madvise) }) {
        filter.allow(call);
    }
}

void allowItself(Filter& filter)
{
    for (const int call : { SCMP_SYS(futex), SCMP_SYS(clock_gettime), SCMP_SYS(gettimeofday),
             SCMP_SYS(getrandom), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(sched_yield),
             SCMP_SYS(restart_syscall), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn),
             SCMP_SYS(exit), SCMP_SYS(exit_group) }) {
        filter.allow(call);
    }
    filter.allow(SCMP_SYS(sysinfo)); // qsort() asks for the size of the memory
    // What abort() needs, so that the log can tell an abort from a forbidden call.
    filter.allow(SCMP_SYS(rt_sigaction), argumentIs(0, SIGABRT));
    filter.allow(SCMP_SYS(tgkill), argumentIs(0, scmp_datum_t(::getpid())), argumentIs(2, SIGABRT));
}

void refuseFiles(Filter& filter)
{
    for (const int call :
        { SCMP_SYS(open), SCMP_SYS(openat), SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(fstat),
            SCMP_SYS(newfstatat), SCMP_SYS(statx), SCMP_SYS(access), SCMP_SYS(faccessat),
            SCMP_SYS(faccessat2), SCMP_SYS(readlink), SCMP_SYS(readlinkat), SCMP_SYS(getcwd) }) {
        filter.refuse(call);
    }
}

int filterCalls(int socket)
{
    Filter filter;
    allowMessages(filter, socket);
    allowMemory(filter);
    allowItself(filter);
    refuseFiles(filter);
    filter.load();
    return filter.error();
}

} // namespace

int lockIn(int socket)
{
    const int error = limitResources();
    if (error != 0 || isSanitized) {
        return error;
    }
    // Nobody reads or traces its memory, and nothing that it could start would gain rights.
    if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0
        || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return errno;
    }
    return filterCalls(socket);
}

int dieWith(int lifeline)
{
    const int flags = ::fcntl(lifeline, F_GETFL);
    if (flags < 0 || ::fcntl(lifeline, F_SETSIG, SIGKILL) != 0
        || ::fcntl(lifeline, F_SETOWN, ::getpid()) != 0
        || ::fcntl(lifeline, F_SETFL, flags | O_ASYNC | O_NONBLOCK) != 0) {
        return errno;
    }
    // The other end may have gone before.
    char byte = 0;
    return ::read(lifeline, &byte, 1) < 0 && errno == EAGAIN ? 0 : EPIPE;
}

} // namespace platform::decoder
