// A decoder that behaves as if a picture had exploited a bug in it.

#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "platform/barcode/isolation/DecoderService.h"
#include "tests/platform/barcode/Misdeed.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using platform::Detection;
using platform::Symbology;
using platform::decoder::largestMessage;
using platform::decoder::lifelineDescriptor;
using platform::decoder::mebibyte;
using platform::decoder::memoryLimit;
using platform::decoder::Reply;
using platform::decoder::serve;
using platform::decoder::socketDescriptor;
using platform::decoder::written;

namespace {

quint64 requests = 0;

Detection saying(const char* text)
{
    return { { { QString::fromLatin1(text), Symbology::Qr, {} } }, {} };
}

Detection refusedUnless(bool done)
{
    return saying(done ? "done" : "refused");
}

[[noreturn]] void hang()
{
    static std::atomic<unsigned> turns = 0;
    for (;;) {
        ++turns;
    }
}

void send(const QByteArray& bytes, bool withDescriptor = false)
{
    iovec part{ const_cast<char*>(bytes.data()), static_cast<std::size_t>(bytes.size()) };
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    if (withDescriptor) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr* message = CMSG_FIRSTHDR(&header);
        message->cmsg_level = SOL_SOCKET;
        message->cmsg_type = SCM_RIGHTS;
        message->cmsg_len = CMSG_LEN(sizeof(int));
        const int descriptor = socketDescriptor;
        std::memcpy(CMSG_DATA(message), &descriptor, sizeof descriptor);
    }
    ::sendmsg(socketDescriptor, &header, 0);
}

void* sleepingThread(void*)
{
    return nullptr;
}

bool makeWritable(const QImage& grey)
{
    const auto address = reinterpret_cast<quintptr>(grey.constBits());
    return ::mprotect(reinterpret_cast<void*>(address), static_cast<std::size_t>(mebibyte),
               PROT_READ | PROT_WRITE)
        == 0;
}

Detection allocateMemory()
{
    std::vector<std::unique_ptr<char[]>> allocated;
    try {
        while (static_cast<qsizetype>(allocated.size()) * mebibyte < 2 * memoryLimit) {
            allocated.push_back(
                std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(mebibyte)));
        }
    } catch (const std::bad_alloc&) {
        return saying("refused");
    }
    return saying("done");
}

Detection lookForDescriptors()
{
    for (int descriptor = lifelineDescriptor + 1; descriptor < 1024; ++descriptor) {
        if (::close(descriptor) == 0) {
            return saying("something");
        }
    }
    return saying("nothing");
}

// The sandbox ends the process at each of these.
Detection overstep(Misdeed misdeed)
{
    std::array<char*, 1> none{ nullptr };
    switch (misdeed) {
    case Misdeed::OpenSocket:
        return refusedUnless(::socket(AF_INET, SOCK_STREAM, 0) >= 0);
    case Misdeed::Fork:
        return refusedUnless(::fork() >= 0);
    case Misdeed::Exec:
        ::execve("/bin/true", none.data(), none.data());
        return saying("refused");
    case Misdeed::StartThread: {
        pthread_t thread = 0;
        return refusedUnless(::pthread_create(&thread, nullptr, sleepingThread, nullptr) == 0);
    }
    case Misdeed::SignalProgram:
        return refusedUnless(::kill(1, 0) == 0);
    case Misdeed::TraceProgram:
        return refusedUnless(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0);
    case Misdeed::MapCode:
        return refusedUnless(::mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
            != MAP_FAILED);
    default:
        return saying("not known");
    }
}

Detection misbehave(const QImage& grey)
{
    const auto misdeed = static_cast<Misdeed>(grey.constBits()[0]);
    switch (misdeed) {
    case Misdeed::None:
        return saying("well behaved");
    case Misdeed::HangSilently:
        ::close(socketDescriptor);
        hang();
    case Misdeed::Hang:
        hang();
    case Misdeed::Abort:
        std::abort();
    case Misdeed::Crash:
        const_cast<uchar&>(grey.constBits()[0]) = 0;
        return saying("done");
    case Misdeed::Leave:
        ::_exit(3);
    case Misdeed::SendNoise:
        send("noise");
        break;
    case Misdeed::SendTooMuch:
        send(QByteArray(largestMessage + 1, 'x'));
        break;
    case Misdeed::SendAnotherNumber:
        send(written(Reply{ requests + 1, saying("of the next picture") }));
        break;
    case Misdeed::SendTwice:
        send(written(Reply{ requests, saying("first") }), true);
        return saying("second");
    case Misdeed::OpenFile:
        return refusedUnless(::open("/etc/passwd", O_RDONLY) >= 0 || errno != EACCES);
    case Misdeed::MakeFile:
        return refusedUnless(::open("made", O_WRONLY | O_CREAT, 0600) >= 0 || errno != EACCES);
    case Misdeed::WritePixels:
        return refusedUnless(makeWritable(grey));
    case Misdeed::AllocateMemory:
        return allocateMemory();
    case Misdeed::LookAtEnvironment:
        return saying(std::getenv("HOME") == nullptr ? "nothing" : "something");
    case Misdeed::LookForDescriptors:
        return lookForDescriptors();
    default:
        return overstep(misdeed);
    }
    return saying("sent");
}

} // namespace

int main()
{
    ::_exit(serve([](const QImage& grey, std::optional<platform::LiveFrame>) {
        ++requests;
        return std::optional(misbehave(grey));
    }));
}
