// windows.h of the native lane: of the system's header, what the pure code of the library uses.
//
// The sources of strings, tables, text code and streams over memory are compiled with the host's compiler so that its
// sanitizers can look at them. This is no port: what the lane does not run is missing here, and calls that only need
// to exist fail.
#ifndef NATIVE_WINDOWS_H
#define NATIVE_WINDOWS_H

#define _WINDOWS_

#include <cstdarg>
#include <cstddef>
#include <cstdint>

// The run-time's wide functions stand in headers that the system's one brings along.
#include <cstring>
#include <cwchar>

#define WINAPI
#define CALLBACK
#define APIENTRY
#define STDMETHODCALLTYPE
#define __declspec(x)
#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFF

typedef int BOOL;
typedef unsigned char BOOLEAN;
typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef unsigned long DWORD;
typedef int INT;
typedef unsigned int UINT;
typedef long LONG;
typedef unsigned long ULONG;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef long LONG_PTR;
typedef unsigned int UINT_PTR;
typedef unsigned long DWORD_PTR;
typedef unsigned long ULONG_PTR;
typedef unsigned int UINT32;
typedef unsigned long long UINT64;
typedef size_t SIZE_T;
typedef wchar_t WCHAR;
typedef long HRESULT;
typedef void* HANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HWND__* HWND;
typedef struct HRSRC__* HRSRC;
typedef unsigned long LCID;
typedef wchar_t* LPWSTR;
typedef const wchar_t* LPCWSTR;
typedef const char* LPCSTR;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef WORD LANGID;
typedef void (*FARPROC)();

struct GUID {
    unsigned long Data1;
    unsigned short Data2, Data3;
    unsigned char Data4[8];
};
struct FILETIME {
    DWORD dwLowDateTime, dwHighDateTime;
};
union LARGE_INTEGER {
    LONGLONG QuadPart;
};
struct SYSTEM_INFO {
    DWORD dwPageSize, dwAllocationGranularity;
};
struct CRITICAL_SECTION {
    void* mutex;
    LONG unused[5]; // the size is part of the layout of a blob
};
struct IMAGE_DOS_HEADER {
    WORD magic;
};
struct IStream;

// ---- Errors ----

#define S_OK ((HRESULT)0)
#define E_FAIL ((HRESULT)0x80004005)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x200
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0xFF
DWORD GetLastError();
void SetLastError(DWORD error);
DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, va_list*);
void OutputDebugStringW(const wchar_t*);

// ---- Memory and threads ----

#define GMEM_MOVEABLE 2
#define GMEM_ZEROINIT 0x40
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags);
HGLOBAL GlobalFree(HGLOBAL memory);
void* GlobalLock(HGLOBAL memory);
BOOL GlobalUnlock(HGLOBAL memory);
SIZE_T GlobalSize(HGLOBAL memory);
HLOCAL LocalFree(HLOCAL memory);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);
DWORD GetCurrentThreadId();
void Sleep(DWORD milliseconds);
BOOL SwitchToThread();
void YieldProcessor();
/// The interlocked functions. They order what was done before one with what is done after a later one, which the checker of
/// threads must be told.
LONG InterlockedIncrement(volatile LONG* number);
LONG InterlockedDecrement(volatile LONG* number);
LONG InterlockedExchange(volatile LONG* number, LONG value);
LONG InterlockedCompareExchange(volatile LONG* number, LONG value, LONG expected);

// ---- Text ----

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_ERR_INVALID_CHARS 8
#define WC_COMPOSITECHECK 0x200
#define WC_DISCARDNS 0x10
#define WC_SEPCHARS 0x20
#define WC_DEFAULTCHAR 0x40
#define WC_ERR_INVALID_CHARS 0x80
#define WC_NO_BEST_FIT_CHARS 0x400
#define LOCALE_USER_DEFAULT 0x400
#define LOCALE_INVARIANT 0x7F
#define NORM_IGNORECASE 1
#define CSTR_LESS_THAN 1
#define CSTR_EQUAL 2
#define CSTR_GREATER_THAN 3
#define LCMAP_LOWERCASE 0x100
#define LCMAP_UPPERCASE 0x200
#define MAP_COMPOSITE 0x40
#define CT_CTYPE1 1
#define CT_CTYPE3 4
#define C1_UPPER 1
#define C1_LOWER 2
#define C1_DIGIT 4
#define C1_SPACE 8
#define C1_ALPHA 0x100
#define C3_NONSPACING 1
#define C3_DIACRITIC 2
#define C3_ALPHA 0x8000
UINT GetACP();
DWORD GetVersion();
int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, wchar_t* output, int room);
int WideCharToMultiByte(UINT page, DWORD flags, const wchar_t* text, int length, char* output, int room,
                        const char*, BOOL* usedDefault);
int CompareStringW(LCID, DWORD flags, const wchar_t* a, int aLength, const wchar_t* b, int bLength);
int LCMapStringW(LCID, DWORD flags, const wchar_t* text, int length, wchar_t* output, int room);
int FoldStringW(DWORD, const wchar_t* text, int length, wchar_t* output, int room);
BOOL GetStringTypeW(DWORD kind, const wchar_t* text, int length, WORD* types);
/// Of 932 as the system has it; no other page has any here.
struct CPINFO {
    UINT MaxCharSize;
    BYTE DefaultChar[2];
    BYTE LeadByte[12];
};
BOOL GetCPInfo(UINT page, CPINFO* info);
enum {
    ANSI_CHARSET = 0,
    SYMBOL_CHARSET = 2,
    MAC_CHARSET = 77,
    SHIFTJIS_CHARSET = 128,
    HANGUL_CHARSET = 129,
    JOHAB_CHARSET = 130,
    GB2312_CHARSET = 134,
    CHINESEBIG5_CHARSET = 136,
    GREEK_CHARSET = 161,
    TURKISH_CHARSET = 162,
    VIETNAMESE_CHARSET = 163,
    HEBREW_CHARSET = 177,
    ARABIC_CHARSET = 178,
    BALTIC_CHARSET = 186,
    RUSSIAN_CHARSET = 204,
    THAI_CHARSET = 222,
    EASTEUROPE_CHARSET = 238,
    OEM_CHARSET = 255,
};
#define _PC_53 0
#define _MCW_PC 0
unsigned _controlfp(unsigned, unsigned);
int _snwprintf(wchar_t* output, size_t room, const wchar_t* format, ...);

// ---- The rest ----

#define MAKEINTRESOURCEW(id) reinterpret_cast<const wchar_t*>(static_cast<UINT_PTR>(id))
#define RT_STRING MAKEINTRESOURCEW(6)
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4
void GetSystemInfo(SYSTEM_INFO* info);
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
int MulDiv(int number, int numerator, int denominator);
HMODULE GetModuleHandleW(const wchar_t* name);
BOOL GetModuleHandleExW(DWORD flags, const wchar_t* address, HMODULE* module);
FARPROC GetProcAddress(HMODULE module, const char* name);
HRSRC FindResourceW(HMODULE module, const wchar_t* name, const wchar_t* type);
HGLOBAL LoadResource(HMODULE module, HRSRC resource);
void* LockResource(HGLOBAL resource);
DWORD SizeofResource(HMODULE module, HRSRC resource);

#define STD_ERROR_HANDLE (static_cast<DWORD>(-12))
HANDLE GetStdHandle(DWORD);
BOOL WriteFile(HANDLE, const void* bytes, DWORD size, DWORD* written, void*);

#endif
