// lane.h: what the two lanes do each in their own way.
#ifndef TESTS_LANE_H
#define TESTS_LANE_H

#include <cstddef>
#include <string>

/// Counts what the library asks for while one lives. Only one may live at a time.
class WorkCounter {
public:
    WorkCounter();
    ~WorkCounter();
    WorkCounter(const WorkCounter&) = delete;
    WorkCounter& operator=(const WorkCounter&) = delete;

    /// Bytes of all allocations so far, those that failed or were given back too.
    unsigned long long BytesAsked() const;
    /// Calls so far that look a name up on the disk.
    unsigned long NameCalls() const;
};

/// While one lives, and a WorkCounter, most names are not looked up on the disk: the system takes a millisecond for one that it
/// has not got. Only in the lane that has names.
class MadeUpDisk {
public:
    MadeUpDisk();
    ~MadeUpDisk();
    MadeUpDisk(const MadeUpDisk&) = delete;
    MadeUpDisk& operator=(const MadeUpDisk&) = delete;
};

/// A copy of bytes behind whose end nothing can be read or written unseen.
class Walled {
public:
    explicit Walled(const std::string& bytes);
    ~Walled();
    Walled(const Walled&) = delete;
    Walled& operator=(const Walled&) = delete;

    void* Bytes() const { return m_bytes; }
    template <class Unit>
    Unit* As() const
    {
        return static_cast<Unit*>(m_bytes);
    }

private:
    void* m_bytes;
    size_t m_index;
};

/// Memory whose address, or the low half of it on 64 bits, is as small a number as can be had: as an argument of the wrong type
/// it is no large width.
void* LowMemory(size_t bytes);

/// From now on the program ends, saying where it stands, when nobody calls this again within so many seconds; a fault or
/// such an end calls `tell` first.
void MustGoOnWithin(unsigned seconds, void (*tell)());

/// Whether the heap's own account is whole. A lane in which a tool watches every block says yes.
bool IsHeapWhole();

/// Writes a file without using the heap.
void WriteFileAtFault(const char* name, const void* bytes, size_t size);

/// The folder of the running program.
std::string ProgramFolder();

/// Seconds since some time.
double Seconds();

#endif
