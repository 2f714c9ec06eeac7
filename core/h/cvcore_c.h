/*
 * cvcore_c.h: the flat face of CVCore16.dll, for programs that its C++ classes do not reach: other C and C++ compilers,
 * C#, Delphi, Python. Plain C (C89 with <stdint.h>, C99, C++); it includes nothing of Windows and nothing of ours.
 *
 *     cv_string* name = NULL;
 *     if (cv_string_create(&name, L"plan", CV_NUL) == CV_OK && cv_string_append(name, L".txt", CV_NUL) == CV_OK) {
 *         const cv_char* text;
 *         cv_string_text(name, &text, NULL);
 *         ...
 *     }
 *     cv_string_free(name);
 *
 * docs/c-face.md begins with tasks instead: merge two letters, read a text file.
 *
 * What holds for every function
 *
 * Results    CV_OK (0), or one of the negative codes of enum cv_code. Beside each function stand the codes that are its own;
 *            CV_E_NULL, CV_E_HANDLE, CV_E_KIND, CV_E_MEMORY and CV_E_EXCEPTION may come from any. After a failure nothing
 *            has changed: neither the object nor what the output pointers point to. Only a function that makes a handle
 *            stores a null pointer when it fails. cv_last_error_... tells more. Output pointers must not be null, unless
 *            "may be null" stands beside them.
 * Texts      UTF-16. Going in, a text is a pointer and a length in units of 16 bits, without a terminator;
 *            CV_NUL as the length means that it ends at its NUL. A text of known length may hold NULs. A null
 *            pointer with the length 0 or CV_NUL is an empty text. The text may lie in the string that is
 *            changed. Coming out, a text goes into a string that the caller made with cv_string_create, and
 *            replaces what was in it. Bytes go into a cv_blob in the same way. There are no buffers to
 *            measure and no two calls for one text.
 * Ownership  What a cv_..._create or cv_..._copy stored is the caller's, who ends it with the cv_..._free of
 *            its kind, once. Freeing a null pointer is CV_OK and does nothing. Pointers that are lent
 *            (cv_string_text, cv_blob_lock, the last error) stay the library's: never free them. Memory of
 *            one side is never freed by the other.
 * Handles    Each kind has a type of its own and a mark in its memory that every function looks at: a handle
 *            of another kind is CV_E_KIND, memory that is no handle CV_E_HANDLE. The mark is wiped when a
 *            handle is freed, so that most uses after that are CV_E_HANDLE too; not all, since the memory may
 *            be somebody else's by then. A pointer to no memory at all ends the program, as in C.
 * Threads    One handle belongs to one thread at a time, and may wander. Different handles may be used at the
 *            same time, copies of each other too. The last error is the thread's own.
 * Exceptions None leaves these functions. A machine fault is no exception: it ends the program as anywhere,
 *            except below a guard of crash.h that a C++ part of the process put up. There it is CV_E_FAULT,
 *            or it leads straight to the guard where the fault was in code of the system. Either way the
 *            exception log has it.
 * Truth      "Whether" is 1 or 0. Arguments that ask for a yes or no take every other number than 0 for yes.
 * ABI        Functions are __cdecl and exported by their plain names: the only convention of 32-bit Windows
 *            whose names no compiler decorates, so that GetProcAddress, DllImport and ctypes find them as
 *            they stand here; and the caller cleans up, so that a declaration that is wrong in one argument
 *            does not ruin the stack. Types have fixed widths, no structure crosses the border, and no
 *            enumeration is a parameter's type. Within a major version functions and constants are only
 *            added; none changes its arguments, its meaning or its number.
 */
#ifndef CVCORE_C_H
#define CVCORE_C_H

#include <stddef.h>
#include <stdint.h>

#define CVCORE_CALL __cdecl

/* CVCORE_EXPORTS: the library itself is compiled. CVCORE_STATIC: its objects are linked into the program,
 * or it is loaded with LoadLibrary. */
#if defined(CVCORE_STATIC)
#define CVCORE_C_API
#elif defined(CVCORE_EXPORTS)
#define CVCORE_C_API __declspec(dllexport)
#else
#define CVCORE_C_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types ---- */

/* A UTF-16 unit. With a compiler on Windows that is wchar_t, so that L"text" fits. */
typedef wchar_t cv_char;
typedef char cv_char_has_16_bits[sizeof(cv_char) == 2 ? 1 : -1];

/* One of enum cv_code. */
typedef int32_t cv_result;

typedef struct cv_string cv_string;         /* a text that may be edited */
typedef struct cv_blob cv_blob;             /* bytes */
typedef struct cv_list cv_list;             /* an ordered list of texts */
typedef struct cv_translator cv_translator; /* values for the references in a template */
typedef struct cv_merger cv_merger;         /* RTF documents that become one */

/* ---- Constants ---- */

enum cv_code {
    CV_OK = 0,               /* done */
    CV_E_NULL = -1,          /* a pointer is null that must not be */
    CV_E_HANDLE = -2,        /* this is no handle, or it was freed */
    CV_E_KIND = -3,          /* a handle of another kind */
    CV_E_RANGE = -4,         /* a position, length or choice that is not allowed, an unknown code page */
    CV_E_STATE = -5,         /* not now: a blob is (not) locked, a handle only lent, a translator at work */
    CV_E_MEMORY = -6,        /* no memory, or a text beyond 1073741312 units */
    CV_E_ENCODING = -7,      /* malformed bytes, or a text that the encoding does not hold */
    CV_E_FORMAT = -8,        /* the text is not Base64, hexadecimal or uuencoded, or no number */
    CV_E_RTF = -9,           /* no sound RTF document; the last error's text says what is wrong and where */
    CV_E_CALLBACK = -10,     /* the client's callback gave up */
    CV_E_FILE_NAME = -11,    /* this cannot be the name of a file */
    CV_E_FILE_MISSING = -12, /* there is no such file */
    CV_E_FILE_OPEN = -13,    /* the file, or the new one beside it, could not be opened */
    CV_E_FILE_READ = -14,    /* reading failed */
    CV_E_FILE_WRITE = -15,   /* writing failed: the disk is full, say. The old file is as it was */
    CV_E_FILE_REPLACE = -16, /* the new content could not take the old one's place, which is as it was */
    CV_E_EXCEPTION = -17,    /* an exception that has no code of its own, thrown by a callback for example */
    CV_E_FAULT = -18         /* a machine fault below a guard; see "Exceptions" above */
};

/* As a length: up to the NUL. As a count: up to the end. */
enum cv_length { CV_NUL = -1, CV_TO_END = -1 };

/* How texts compare. Case is the system's simple rule, a unit at a time, the same for every locale. */
enum cv_compare {
    CV_EXACT = 0,            /* by unit */
    CV_NO_CASE = 1,          /* by upper-cased unit */
    CV_NUMBERED = 2,         /* runs of digits by their value: "a2" before "a10" */
    CV_NUMBERED_NO_CASE = 3, /* both */
    CV_LOCALE = 4            /* as the user's locale sorts; for cv_string_compare only */
};

/* Which ends cv_string_trim looks at; they may be added. */
enum cv_trim { CV_LEFT = 1, CV_RIGHT = 2, CV_BOTH = 3 };

/* What cv_string_number_kind found. */
enum cv_number { CV_NO_NUMBER = 0, CV_INTEGER = 1, CV_DECIMAL = 2 };

/* Text forms of bytes. */
enum cv_form {
    CV_BASE64 = 0, /* RFC 4648, section 4, without line breaks */
    CV_HEX = 1,    /* pairs of hexadecimal digits, written in upper case */
    CV_UU = 2      /* lines as uuencode writes them, without "begin" and "end" */
};

/* Encodings are numbers of Windows code pages; those named here, and whichever the system has (1252, 932,
 * ...). */
enum cv_encoding {
    CV_DETECT =
        -1,      /* reading: by the byte-order mark; without one UTF-8 when all of it is that, else CV_ANSI */
    CV_ANSI = 0, /* the ANSI code page of the process */
    CV_UTF16_LE = 1200,
    CV_UTF16_BE = 1201,
    CV_BYTES =
        28591, /* ISO 8859-1: each byte is the unit of the same number. RTF files are read and written so */
    CV_UTF8 = 65001
};

/* What becomes of bytes that are malformed, and of characters that an encoding does not hold. */
enum cv_damage {
    CV_REFUSE = 0, /* the call fails with CV_E_ENCODING */
    CV_REPLACE = 1 /* U+FFFD stands for them; in code pages "?" or whatever the code page has for that */
};

/* What a cv_lookup answers; every negative number gives up. */
enum cv_found { CV_GIVE_UP = -1, CV_MISSING = 0, CV_FOUND = 1 };

/* What stands between two documents in the merged one. */
enum cv_break { CV_PARAGRAPH = 0, CV_PAGE = 1 };

/* The parts that cv_rtf_extract knows. */
enum cv_rtf_part { CV_RTF_HEADER = 0, CV_RTF_FONTS = 1, CV_RTF_COLORS = 2, CV_RTF_STYLES = 3 };

/* ---- The library, and the thread's last error ---- */

/* The version of the DLL that is loaded: 160203 for 16.2.3. */
CVCORE_C_API int32_t CVCORE_CALL cv_version(void);
/* The same for people, "16.2.3", in memory that is never freed. */
CVCORE_C_API const cv_char* CVCORE_CALL cv_version_text(void);

/* The name of a code, "CV_E_MEMORY", in ASCII and in memory that is never freed; "unknown code" for any
 * other number. */
CVCORE_C_API const char* CVCORE_CALL cv_code_name(int32_t code);

/* The code of the call on this thread that failed last; CV_OK when none did. Calls that succeed leave it
 * alone, and so do the functions of this section. When there is no memory to keep what a first failure
 * was, it is CV_E_MEMORY with a text that says so. */
CVCORE_C_API cv_result CVCORE_CALL cv_last_error(void);
/* What the system said with it (a number of GetLastError or an HRESULT), with file failures above all; 0
 * when it said nothing. */
CVCORE_C_API uint32_t CVCORE_CALL cv_last_error_system(void);
/* What went wrong, in a line for people, cut at 1000 units: "character 12: ...". The text is lent until
 * the next call on this thread fails or cv_last_error_clear is called, and never null. `length`, in units,
 * may be null. */
CVCORE_C_API const cv_char* CVCORE_CALL cv_last_error_text(int32_t* length);
/* Where: the function of this page that failed and, when an exception was behind it, "Thrown from:" and
 * the place. For a report to the library's makers; lent in the same way. `length` may be null. */
CVCORE_C_API const cv_char* CVCORE_CALL cv_last_error_location(int32_t* length);
/* Forgets it: the code is CV_OK, the texts are empty. */
CVCORE_C_API void CVCORE_CALL cv_last_error_clear(void);

/* ---- Strings ---- */

/* Makes a string of a text. CV_E_RANGE: a length below -1 (here and wherever a text goes in). */
CVCORE_C_API cv_result CVCORE_CALL cv_string_create(cv_string** string, const cv_char* text, int32_t length);
/* Makes another string with the same text; cheap, they share it until one is changed. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_copy(const cv_string* string, cv_string** copy);
/* CV_E_STATE: the string was lent to a callback. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_free(cv_string* string);

/* The length in units. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_length(const cv_string* string, int32_t* length);
/* The text itself, with a NUL behind it, lent until the string is changed or freed. Never null. `length`
 * may be null. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_text(const cv_string* string, const cv_char** text,
                                                  int32_t* length);

/* Replaces the text; with an empty one, empties the string. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_set(cv_string* string, const cv_char* text, int32_t length);
/* Adds at the end. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_append(cv_string* string, const cv_char* text, int32_t length);
/* Puts a text in front of the unit at `position`. CV_E_RANGE: a position outside 0..length. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_insert(cv_string* string, int32_t position, const cv_char* text,
                                                    int32_t length);
/* Takes `count` units out, at most those that are there. CV_E_RANGE: a position outside 0..length, a count
 * below -1. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_erase(cv_string* string, int32_t position, int32_t count);
/* Stores `count` units from `position` on in `part`, at most those that are there. `part` may be the
 * string itself. CV_E_RANGE as above. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_part(const cv_string* string, int32_t position, int32_t count,
                                                  cv_string* part);

/* Stores a negative number, 0 or a positive one: the string is before, equal to or behind the text, as
 * `rule` (enum cv_compare) has it. The numbered rules and CV_LOCALE see either text up to its first NUL.
 * CV_E_RANGE: an unknown rule. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_compare(const cv_string* string, const cv_char* text,
                                                     int32_t length, int32_t rule, int32_t* order);
/* Stores where the text occurs first at or behind `position`, -1 when nowhere. An empty text is found at
 * once. `rule` is CV_EXACT or CV_NO_CASE. CV_E_RANGE: another rule, a position outside 0..length. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_find(const cv_string* string, const cv_char* text,
                                                  int32_t length, int32_t position, int32_t rule,
                                                  int32_t* found);
/* Stores where it occurs last, -1 when nowhere. CV_E_RANGE: another rule than these two. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_find_last(const cv_string* string, const cv_char* text,
                                                       int32_t length, int32_t rule, int32_t* found);
/* Replaces every occurrence of `from`, from the left and without overlap; `count`, which may be null, says
 * how many there were. An empty `from` occurs nowhere; both texts end at their first NUL. CV_E_RANGE as
 * above. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_replace(cv_string* string, const cv_char* from,
                                                     int32_t from_length, const cv_char* to,
                                                     int32_t to_length, int32_t rule, int32_t* count);
/* Whether the whole text fits a pattern in which * stands for any units, none included, and ? for one.
 * CV_E_RANGE as above. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_match(const cv_string* string, const cv_char* pattern,
                                                   int32_t length, int32_t rule, int32_t* matches);

/* Change the case of the whole text. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_upper(cv_string* string);
CVCORE_C_API cv_result CVCORE_CALL cv_string_lower(cv_string* string);
/* Cuts the units of `set` (up to its first NUL) off the ends that `ends` names (enum cv_trim). An empty
 * set stands for blank, tab, line feed and carriage return. CV_E_RANGE: no such ends. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_trim(cv_string* string, const cv_char* set, int32_t length,
                                                  int32_t ends);

/* Makes the text a decimal number: digits with a minus sign when negative; the shortest decimal that is
 * read back to the same value, with a point in every locale ("0.1", "1e+300", "inf", "nan"). */
CVCORE_C_API cv_result CVCORE_CALL cv_string_set_integer(cv_string* string, int64_t value);
CVCORE_C_API cv_result CVCORE_CALL cv_string_set_decimal(cv_string* string, double value);
/* What the whole text is: CV_INTEGER (sign and digits), CV_DECIMAL (with a point or an exponent) or
 * CV_NO_NUMBER. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_number_kind(const cv_string* string, int32_t* kind);
/* The number that the text begins with, behind white space; what follows it is ignored, and one out of
 * range gives the nearest end of the range. `base` is 2 to 16, or 0: 16 behind "0x", else 10. CV_E_FORMAT:
 * it begins with no digit. CV_E_RANGE: no such base. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_integer(const cv_string* string, int32_t base, int32_t* value);
/* The same for a decimal number with a point, the whole text. CV_E_FORMAT: it is none. */
CVCORE_C_API cv_result CVCORE_CALL cv_string_decimal(const cv_string* string, double* value);

/* ---- Blobs ---- */

/* Makes a blob of `size` bytes, copied from `bytes`; zeros when that is null. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_create(cv_blob** blob, const void* bytes, uint32_t size);
/* Makes another blob with the same bytes; cheap, they share them until one is changed. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_copy(const cv_blob* blob, cv_blob** copy);
/* CV_E_STATE: the blob is locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_free(cv_blob* blob);

/* The size in bytes. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_size(const cv_blob* blob, uint32_t* size);
/* Lends the bytes for reading until as many calls of cv_blob_unlock; meanwhile the blob cannot be changed
 * or freed. `*bytes` is null for a blob of no bytes. `size` may be null. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_lock(cv_blob* blob, const void** bytes, uint32_t* size);
/* CV_E_STATE: it is not locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_unlock(cv_blob* blob);
/* Replaces the bytes; as cv_blob_create. CV_E_STATE: the blob is locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_set(cv_blob* blob, const void* bytes, uint32_t size);
/* Stores a negative number, 0 or a positive one: by the bytes, then by length. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_compare(const cv_blob* a, const cv_blob* b, int32_t* order);

/* Stores the bytes in a text form (enum cv_form) in `text`. CV_E_RANGE: no such form. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_encode(const cv_blob* blob, int32_t form, cv_string* text);
/* Replaces the bytes by those that a text stands for. White space may stand between the pairs of CV_HEX;
 * CV_UU passes over what precedes a line that begins with "begin ". Base64 must be whole: groups of four
 * with their "=", nothing else. CV_E_FORMAT: the text is not in that form. CV_E_RANGE: no such form.
 * CV_E_STATE: the blob is locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_blob_decode(cv_blob* blob, int32_t form, const cv_char* text,
                                                  int32_t length);

/* ---- Text and bytes ---- */

/* Stores the text of bytes in `text`. A byte-order mark goes, with CV_DETECT and with the encoding that it
 * is of. `damage` is of enum cv_damage; text in CV_ANSI and CV_BYTES is never malformed. CV_E_ENCODING:
 * malformed, for CV_REFUSE. CV_E_RANGE: an encoding that the system does not have; an unknown `damage`;
 * more than 2 GiB. */
CVCORE_C_API cv_result CVCORE_CALL cv_text_decode(const void* bytes, uint32_t size, int32_t encoding,
                                                  int32_t damage, cv_string* text);
/* Stores a text as bytes in `blob`, without a mark. CV_E_ENCODING: half a surrogate pair, or a character
 * that the encoding does not hold, for CV_REFUSE. CV_E_RANGE: as above, and CV_DETECT. CV_E_STATE: the
 * blob is locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_text_encode(const cv_char* text, int32_t length, int32_t encoding,
                                                  int32_t damage, cv_blob* blob);
/* Stores the encoding that CV_DETECT would choose. Looks at all the bytes: those of half a file may end
 * inside a character. */
CVCORE_C_API cv_result CVCORE_CALL cv_text_detect(const void* bytes, uint32_t size, int32_t* encoding);

/* ---- Files ---- */
/* A relative path counts from the current directory; a slash is a backslash. CV_E_FILE_NAME: the path is
 * empty, holds a NUL or cannot be a file's name. With the codes of files cv_last_error_system has the
 * system's reason. */

/* Stores a whole file in `text`; encoding and damage as in cv_text_decode, with its codes. `used`, which
 * may be null, becomes the encoding that it was. CV_E_FILE_MISSING, CV_E_FILE_OPEN, CV_E_FILE_READ. */
CVCORE_C_API cv_result CVCORE_CALL cv_file_read_text(const cv_char* path, int32_t path_length,
                                                     int32_t encoding, int32_t damage, cv_string* text,
                                                     int32_t* used);
/* Makes a text the whole content of a file, or leaves the file as it was: the new content replaces the old
 * one in one step when it is on the disk. With `mark` a byte-order mark stands in front (UTF-8 and UTF-16
 * only, else CV_E_RANGE). What the encoding does not hold is CV_E_ENCODING. CV_E_FILE_OPEN,
 * CV_E_FILE_WRITE, CV_E_FILE_REPLACE. */
CVCORE_C_API cv_result CVCORE_CALL cv_file_write_text(const cv_char* path, int32_t path_length,
                                                      const cv_char* text, int32_t length, int32_t encoding,
                                                      int32_t mark);
/* The same for bytes. CV_E_STATE: the blob that is to be filled is locked. */
CVCORE_C_API cv_result CVCORE_CALL cv_file_read(const cv_char* path, int32_t path_length, cv_blob* blob);
CVCORE_C_API cv_result CVCORE_CALL cv_file_write(const cv_char* path, int32_t path_length,
                                                 const cv_blob* blob);
/* Whether there is a file of that name; a folder is none, nor is what no file can be called. */
CVCORE_C_API cv_result CVCORE_CALL cv_file_exists(const cv_char* path, int32_t path_length, int32_t* exists);

/* ---- Lists of strings ---- */

/* Makes an empty list. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_create(cv_list** list);
/* Makes another list with the same strings. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_copy(const cv_list* list, cv_list** copy);
CVCORE_C_API cv_result CVCORE_CALL cv_list_free(cv_list* list);

CVCORE_C_API cv_result CVCORE_CALL cv_list_count(const cv_list* list, int32_t* count);
/* Stores the string at an index in `text`. CV_E_RANGE: an index outside 0..count-1. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_get(const cv_list* list, int32_t index, cv_string* text);
/* Adds a string at the end. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_add(cv_list* list, const cv_char* text, int32_t length);
/* Replaces the string at an index. CV_E_RANGE as above. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_set(cv_list* list, int32_t index, const cv_char* text,
                                               int32_t length);
/* Puts a string in front of the one at an index. CV_E_RANGE: an index outside 0..count. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_insert(cv_list* list, int32_t index, const cv_char* text,
                                                  int32_t length);
/* Takes the string at an index out. CV_E_RANGE: an index outside 0..count-1. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_remove(cv_list* list, int32_t index);
/* Takes all out. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_clear(cv_list* list);
/* Sorts by one of the rules of enum cv_compare but CV_LOCALE, falling with `descending`; equal strings
 * keep their order. CV_E_RANGE: another rule. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_sort(cv_list* list, int32_t rule, int32_t descending);
/* Adds the items of a text. An item ends at any unit of `separators`; behind that other separators are
 * skipped, a repeat of the same one makes an empty item. `escape` takes the meaning from the unit behind
 * it; 0: there is none. Separators end at a NUL. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_split(cv_list* list, const cv_char* text, int32_t length,
                                                 const cv_char* separators, int32_t separators_length,
                                                 cv_char escape);
/* Stores the strings in one text, with the separator between two. */
CVCORE_C_API cv_result CVCORE_CALL cv_list_join(const cv_list* list, const cv_char* separator,
                                                int32_t separator_length, cv_string* text);

/* ---- Templates: references in a text replaced by values ---- */
/* "Dear %NAME%": a reference stands between two delimiters in one line. In front of the name, up to a
 * colon, options may stand: %?:NOTE% may be missing, %-8:SUM% is right-aligned in 8 units, %.U:NAME% upper
 * case, and more; strtrans.h has them all. A doubled delimiter is one delimiter, and the text in front of
 * it, back to the reference before, is lost: that is meant, and old. */

/* Supplies a value: stores it in `value` with cv_string_set and answers CV_FOUND; or answers CV_MISSING;
 * or a negative number to end the expansion with CV_E_CALLBACK. `context` is what was given to
 * cv_translator_set_lookup. `name`, with a NUL behind it, and `value`, empty at first, are lent for the
 * call: freeing the value is CV_E_STATE. It may call whatever it wants, cv_translator_expand too, but not
 * change or free its translator. It should not throw: an exception of the g++ that the library was built
 * with is caught and becomes a code; one of another compiler or language must be caught in the callback. */
typedef int32_t(CVCORE_CALL* cv_lookup)(void* context, const cv_char* name, int32_t name_length,
                                        cv_string* value);

/* Makes a translator without values, with "%" as its delimiter. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_create(cv_translator** translator);
/* CV_E_STATE: it is at work (one of its callbacks called this). */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_free(cv_translator* translator);
/* What opens and what closes a reference; texts that end at a NUL. CV_E_RANGE: one is empty. CV_E_STATE,
 * here and below, as above. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_delimiters(cv_translator* translator, const cv_char* start,
                                                            int32_t start_length, const cv_char* end,
                                                            int32_t end_length);
/* Gives a name its value, and replaces the one that it had. Names are told apart by case. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_set(cv_translator* translator, const cv_char* name,
                                                     int32_t name_length, const cv_char* value,
                                                     int32_t value_length);
/* Takes a name out; `removed`, which may be null, says whether it was there. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_remove(cv_translator* translator, const cv_char* name,
                                                        int32_t name_length, int32_t* removed);
/* Takes all names out; delimiters and callback stay. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_clear(cv_translator* translator);
/* Who is asked for names that have no value; null: nobody. The context is not looked at, only handed on. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_set_lookup(cv_translator* translator, cv_lookup lookup,
                                                            void* context);
/* Stores the expanded template in `text`; it ends at its first NUL. Where a name is missing nothing
 * stands; `missing`, which may be null, becomes the number of those references that were not optional.
 * CV_E_CALLBACK: the callback gave up. */
CVCORE_C_API cv_result CVCORE_CALL cv_translator_expand(cv_translator* translator, const cv_char* pattern,
                                                        int32_t length, cv_string* text, int32_t* missing);

/* ---- RTF ---- */
/* A document's text has a unit for each byte of its file: read and write such files with CV_BYTES. Units
 * from 128 to 255 count as bytes of the document's code page. */

/* CV_OK for a sound document: it begins with "{\rtf" or "{\urtf", its braces are balanced, nothing
 * follows, its binary data lies in it, and its groups are nested 1000 deep at most. Else CV_E_RTF;
 * cv_last_error_text says "character 12: ...", counted from 0. */
CVCORE_C_API cv_result CVCORE_CALL cv_rtf_check(const cv_char* rtf, int32_t length);
/* Stores a part of `rtf` (enum cv_rtf_part) in `part`, empty when it has none: the header tags behind an
 * opening brace, or the group of the font table, the colour table, the style sheet. With `remove` it is
 * cut out of `rtf`. The two must be different strings. CV_E_RANGE: no such part, or the same string. */
CVCORE_C_API cv_result CVCORE_CALL cv_rtf_extract(cv_string* rtf, int32_t part_kind, int32_t remove,
                                                  cv_string* part);
/* Changes the numbers of fonts, colours and styles in RTF text and stores the result in `out`. Each map is
 * an array of `count` pairs, the old number and the new one behind each other; null for a count of 0.
 * Numbers that are in no map stay, and so does colour 0. On purpose white space in front of a tag is not
 * copied; the merger below keeps it. CV_E_RANGE: a count below 0. */
CVCORE_C_API cv_result CVCORE_CALL cv_rtf_renumber(const cv_char* rtf, int32_t length, const int32_t* fonts,
                                                   int32_t font_count, const int32_t* colors,
                                                   int32_t color_count, const int32_t* styles,
                                                   int32_t style_count, cv_string* out);

/* Makes a merger without documents. */
CVCORE_C_API cv_result CVCORE_CALL cv_merger_create(cv_merger** merger);
CVCORE_C_API cv_result CVCORE_CALL cv_merger_free(cv_merger* merger);
/* Adds a document at the end. `before` (enum cv_break) is what stands between it and the one before.
 * Fonts, colours, styles and lists are merged, so that each keeps its look. CV_E_RTF: cv_rtf_check refuses
 * it. CV_E_RANGE: an unknown break. */
CVCORE_C_API cv_result CVCORE_CALL cv_merger_add(cv_merger* merger, const cv_char* rtf, int32_t length,
                                                 int32_t before);
/* How many were added. */
CVCORE_C_API cv_result CVCORE_CALL cv_merger_count(const cv_merger* merger, int32_t* count);
/* Stores the merged document in `rtf`: plain ASCII, empty when nothing was added. More may be added
 * afterwards. */
CVCORE_C_API cv_result CVCORE_CALL cv_merger_document(const cv_merger* merger, cv_string* rtf);
/* Forgets all documents. */
CVCORE_C_API cv_result CVCORE_CALL cv_merger_clear(cv_merger* merger);

#ifdef __cplusplus
}
#endif

#endif
