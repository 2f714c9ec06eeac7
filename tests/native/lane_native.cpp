// The lane under the sanitizers: what they find ends the program, and they know the size of each block.
#include "hard/lane.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>

// The sanitizers' interface; not every compiler package brings its header.
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*, size_t),
                                              void (*freed)(const volatile void*));
void __sanitizer_set_death_callback(void (*callback)());
void __sanitizer_print_stack_trace();
}

namespace {

unsigned long long g_asked;
std::atomic<void (*)()> g_tell(nullptr);

void CountAllocation(const volatile void*, size_t bytes)
{
    g_asked += bytes;
}
void CountNoRelease(const volatile void*) {}

void Tell()
{
    if (void (*const tell)() = g_tell.exchange(nullptr))
        tell();
}

void EndHung(int)
{
    static const char kText[] = "\nHUNG: the program does not get on\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText, sizeof kText - 1);
    __sanitizer_print_stack_trace();
    Tell();
    ::_exit(98);
}

} // namespace

WorkCounter::WorkCounter()
{
    // The hooks stay for ever, so they are set once.
    static const int installed = __sanitizer_install_malloc_and_free_hooks(CountAllocation, CountNoRelease);
    static_cast<void>(installed);
    __sanitizer_set_death_callback(Tell);
}
WorkCounter::~WorkCounter() = default;
unsigned long long WorkCounter::BytesAsked() const
{
    return g_asked;
}
unsigned long WorkCounter::NameCalls() const
{
    return 0; // this lane looks no names up
}

Walled::Walled(const std::string& bytes) : m_bytes(std::malloc(bytes.size())), m_index(0)
{
    if (!m_bytes)
        throw std::bad_alloc();
    bytes.copy(static_cast<char*>(m_bytes), bytes.size());
}
Walled::~Walled()
{
    std::free(m_bytes);
}

void* LowMemory(size_t bytes)
{
    constexpr size_t kStep = 0x10000, kEnd = 0x400000;
    for (size_t at = kStep; at < kEnd; at += kStep) {
        void* const got = ::mmap(reinterpret_cast<void*>(at), bytes, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (got != MAP_FAILED)
            return got;
    }
    throw std::bad_alloc();
}

void MustGoOnWithin(unsigned seconds, void (*tell)())
{
    static const auto before = ::signal(SIGALRM, EndHung);
    static_cast<void>(before);
    g_tell = tell;
    constexpr unsigned kSlower = 10; // than without sanitizers
    ::alarm(kSlower * seconds);
}

bool IsHeapWhole()
{
    return true;
}

void WriteFileAtFault(const char* name, const void* bytes, size_t size)
{
    const int file = ::open(name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    [[maybe_unused]] const ssize_t written = ::write(file, bytes, size);
    ::close(file);
}

std::string ProgramFolder()
{
    char path[4096];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    const std::string name(path, length < 0 ? 0 : static_cast<size_t>(length));
    return name.substr(0, name.find_last_of('/'));
}

double Seconds()
{
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}
