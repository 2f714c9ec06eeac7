// A small client: what is thrown in the DLL must be caught by type here.
#include <cvcore.h>

#include <cstdio>

int main()
{
    std::printf("consumer: %ls, compiled for %d\n", SGetVersionText(), CVCORE_VERSION);
    try {
        SString().LockTchar(SString::kMaxLength + 1);
    }
    catch (const SEOutOfMemory&) {
        std::printf("consumer: caught\n");
    }
    return 0;
}
