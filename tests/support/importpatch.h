// importpatch.h: replaces what a loaded module imports, to make the failures of the system and the run-time
// happen.
//
//     static void* WINAPI NoMemory(UINT, SIZE_T) { SetLastError(ERROR_NOT_ENOUGH_MEMORY); return nullptr; }
//
//     ImportPatch patch("CVCore16.dll", "KERNEL32.dll", "GlobalAlloc", NoMemory);
//     ASSERT_TRUE(patch.Found());
//
// Only calls of that module go to the replacement; those of other modules, and what it looked up at run time,
// do not. Patches of the same import nest: end them in the reverse order. Threads may go on calling while a
// patch comes or goes.
#ifndef TESTS_IMPORTPATCH_H
#define TESTS_IMPORTPATCH_H

#include <windows.h>

#include <vector>

class ImportPatch {
public:
    /// Points every import `function` of the loaded `module` to `replacement`. `from` is the DLL that it is
    /// imported from, null for whichever it is. Names of DLLs are compared without case.
    template <class Function>
    ImportPatch(const char* module, const char* from, const char* function, Function* replacement)
        : ImportPatch(::GetModuleHandleA(module), from, function, reinterpret_cast<void*>(replacement))
    {}

    /// Same, for a module by handle; null patches nothing.
    ImportPatch(HMODULE module, const char* from, const char* function, void* replacement);
    ImportPatch(ImportPatch&&) noexcept = default;
    ImportPatch& operator=(ImportPatch&&) = delete;

    /// Puts the original back.
    ~ImportPatch();

    /// Whether the module imports that function at all. A test that does not ask may test nothing.
    bool Found() const { return !m_slots.empty(); }

    /// What the import pointed to before; null when there is none. `Function` is a function type.
    template <class Function>
    Function* Original() const
    {
        return reinterpret_cast<Function*>(m_original);
    }

private:
    std::vector<void**> m_slots;
    void* m_original;
};

#endif
