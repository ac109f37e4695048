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

using namespace Qt::StringLiterals;

namespace platform::decoder {
namespace {

constexpr int descriptorLimit = 16;

Error sandboxError(int code)
{
    return posixError(code, u"The decoder cannot restrict itself."_s, qt_error_string(code));
}

bool limit(__rlimit_resource resource, rlim_t value)
{
    const rlimit both{ value, value };
    return ::setrlimit(resource, &both) == 0;
}

/// False, with errno set, on failure.
bool limitResources()
{
    if (!limit(RLIMIT_NOFILE, descriptorLimit)) {
        return false;
    }
    if (isSanitized) {
        return true;
    }
    return limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_NPROC, 0)
        && limit(RLIMIT_MEMLOCK, 0) && limit(RLIMIT_AS, static_cast<rlim_t>(memoryLimit));
}

/// An allow-list of system calls. Keeps the errno of the first failure.
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

    int error() const { return m_error; } ///< errno, or 0

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
        filter.allow(call, argumentIs(0, static_cast<scmp_datum_t>(socket)));
    }
    filter.allow(SCMP_SYS(close)); // of descriptors that were received
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
    filter.allow(SCMP_SYS(sysinfo)); // qsort() reads the size of the memory
    // For abort(), so that its signal differs from that of a forbidden call in the log.
    filter.allow(SCMP_SYS(rt_sigaction), argumentIs(0, SIGABRT));
    filter.allow(SCMP_SYS(tgkill), argumentIs(0, static_cast<scmp_datum_t>(::getpid())),
        argumentIs(2, SIGABRT));
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

Result<void> filterCalls(int socket)
{
    Filter filter;
    allowMessages(filter, socket);
    allowMemory(filter);
    allowItself(filter);
    refuseFiles(filter);
    filter.load();
    if (filter.error() != 0) {
        return sandboxError(filter.error());
    }
    return {};
}

} // namespace

Result<void> lockIn(int socket)
{
    if (!limitResources()) {
        return sandboxError(errno);
    }
    if (isSanitized) {
        return {};
    }
    // No other process can read or trace its memory, and it cannot gain privileges.
    if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0
        || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return sandboxError(errno);
    }
    return filterCalls(socket);
}

bool dieWith(int lifeline)
{
    const int flags = ::fcntl(lifeline, F_GETFL);
    if (flags < 0 || ::fcntl(lifeline, F_SETSIG, SIGKILL) != 0
        || ::fcntl(lifeline, F_SETOWN, ::getpid()) != 0
        || ::fcntl(lifeline, F_SETFL, flags | O_ASYNC | O_NONBLOCK) != 0) {
        return false;
    }
    // The other end may have been closed before.
    char byte = 0;
    return ::read(lifeline, &byte, 1) < 0 && errno == EAGAIN;
}

} // namespace platform::decoder
