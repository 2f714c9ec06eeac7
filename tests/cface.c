/* The flat face from plain C, with nothing but its header and the import library: what each function does, every code that it
 * may answer, and every handle that it must refuse. What needs C++ (memory that fails, callbacks that throw, threads) is in
 * cface.cpp. */
#include "cvcore_c.h"

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include <windows.h>

/* ---- Checking ---- */

static int g_failures = 0;
static const char* g_row = "";

static void fail(int line, const char* what)
{
    ++g_failures;
    printf("cface.c:%d: %s%s%s\n", line, what, *g_row ? ", in row " : "", g_row);
}

static void check_code(int line, const char* call, cv_result wanted, cv_result got)
{
    if (got != wanted) {
        fail(line, call);
        printf("    answered %s, wanted %s; last error: %ls\n", cv_code_name(got), cv_code_name(wanted),
               cv_last_error_text(NULL));
    }
}

static void check_text(int line, const cv_string* string, const cv_char* wanted, int32_t wanted_length)
{
    const cv_char* text = NULL;
    int32_t length = -1;
    if (wanted_length == CV_NUL)
        wanted_length = (int32_t)wcslen(wanted);
    if (cv_string_text(string, &text, &length) != CV_OK || length != wanted_length ||
        memcmp(text, wanted, (size_t)length * sizeof(cv_char)) != 0 || text[length] != 0) {
        fail(line, "another text");
        printf("    found \"%ls\" of %d, wanted \"%ls\"\n", text ? text : L"(null)", (int)length, wanted);
    }
}

#define CHECK(condition) ((condition) ? (void)0 : fail(__LINE__, #condition))
#define CODE(wanted, call) check_code(__LINE__, #call, wanted, call)
#define OK(call) CODE(CV_OK, call)
#define HAS_TEXT(string, wanted) check_text(__LINE__, string, wanted, CV_NUL)

static cv_string* made(const cv_char* text)
{
    cv_string* string = NULL;
    OK(cv_string_create(&string, text, CV_NUL));
    return string;
}

/* What calls may write into, and one handle of each kind. */
static int32_t g_int;
static uint32_t g_size;
static double g_double;
static const cv_char* g_text;
static const void* g_bytes;
static cv_string* g_string;
static cv_blob* g_blob;
static cv_list* g_list;
static cv_translator* g_translator;
static cv_merger* g_merger;

/* ---- Every function refuses what is no handle of its kind ---- */

enum { A_STRING, A_BLOB, A_LIST, A_TRANSLATOR, A_MERGER, KINDS };

#define ON(row, call)                                                                                        \
    static cv_result on_##row(void* h)                                                                       \
    {                                                                                                        \
        return call;                                                                                         \
    }
static cv_string* g_copied_string;
static cv_blob* g_copied_blob;
static cv_list* g_copied_list;
static const int32_t kPair[] = { 1, 2 };

ON(cv_string_copy, cv_string_copy(h, &g_copied_string))
ON(cv_string_free, cv_string_free(h))
ON(cv_string_length, cv_string_length(h, &g_int))
ON(cv_string_text, cv_string_text(h, &g_text, &g_int))
ON(cv_string_set, cv_string_set(h, L"a", 1))
ON(cv_string_append, cv_string_append(h, L"a", 1))
ON(cv_string_insert, cv_string_insert(h, 0, L"a", 1))
ON(cv_string_erase, cv_string_erase(h, 0, 0))
ON(cv_string_part, cv_string_part(h, 0, 0, g_string))
ON(cv_string_part_to, cv_string_part(g_string, 0, 0, h))
ON(cv_string_compare, cv_string_compare(h, L"a", 1, CV_EXACT, &g_int))
ON(cv_string_find, cv_string_find(h, L"a", 1, 0, CV_EXACT, &g_int))
ON(cv_string_find_last, cv_string_find_last(h, L"a", 1, CV_EXACT, &g_int))
ON(cv_string_replace, cv_string_replace(h, L"a", 1, L"b", 1, CV_EXACT, &g_int))
ON(cv_string_match, cv_string_match(h, L"a", 1, CV_EXACT, &g_int))
ON(cv_string_upper, cv_string_upper(h))
ON(cv_string_lower, cv_string_lower(h))
ON(cv_string_trim, cv_string_trim(h, NULL, 0, CV_BOTH))
ON(cv_string_set_integer, cv_string_set_integer(h, 1))
ON(cv_string_set_decimal, cv_string_set_decimal(h, 1))
ON(cv_string_number_kind, cv_string_number_kind(h, &g_int))
ON(cv_string_integer, cv_string_integer(h, 10, &g_int))
ON(cv_string_decimal, cv_string_decimal(h, &g_double))
ON(cv_blob_copy, cv_blob_copy(h, &g_copied_blob))
ON(cv_blob_free, cv_blob_free(h))
ON(cv_blob_size, cv_blob_size(h, &g_size))
ON(cv_blob_lock, cv_blob_lock(h, &g_bytes, &g_size))
ON(cv_blob_unlock, cv_blob_unlock(h))
ON(cv_blob_set, cv_blob_set(h, "a", 1))
ON(cv_blob_compare, cv_blob_compare(h, g_blob, &g_int))
ON(cv_blob_compare_to, cv_blob_compare(g_blob, h, &g_int))
ON(cv_blob_encode, cv_blob_encode(h, CV_HEX, g_string))
ON(cv_blob_encode_to, cv_blob_encode(g_blob, CV_HEX, h))
ON(cv_blob_decode, cv_blob_decode(h, CV_HEX, L"00", 2))
ON(cv_text_decode_to, cv_text_decode("a", 1, CV_UTF8, CV_REFUSE, h))
ON(cv_text_encode_to, cv_text_encode(L"a", 1, CV_UTF8, CV_REFUSE, h))
ON(cv_file_read_text_to, cv_file_read_text(L"none", 4, CV_UTF8, CV_REFUSE, h, &g_int))
ON(cv_file_read_to, cv_file_read(L"none", 4, h))
ON(cv_file_write, cv_file_write(L"none", 4, h))
ON(cv_list_copy, cv_list_copy(h, &g_copied_list))
ON(cv_list_free, cv_list_free(h))
ON(cv_list_count, cv_list_count(h, &g_int))
ON(cv_list_get, cv_list_get(h, 0, g_string))
ON(cv_list_get_to, cv_list_get(g_list, 0, h))
ON(cv_list_add, cv_list_add(h, L"a", 1))
ON(cv_list_set, cv_list_set(h, 0, L"a", 1))
ON(cv_list_insert, cv_list_insert(h, 0, L"a", 1))
ON(cv_list_remove, cv_list_remove(h, 0))
ON(cv_list_clear, cv_list_clear(h))
ON(cv_list_sort, cv_list_sort(h, CV_EXACT, 0))
ON(cv_list_split, cv_list_split(h, L"a", 1, L",", 1, 0))
ON(cv_list_join, cv_list_join(h, L",", 1, g_string))
ON(cv_list_join_to, cv_list_join(g_list, L",", 1, h))
ON(cv_translator_free, cv_translator_free(h))
ON(cv_translator_delimiters, cv_translator_delimiters(h, L"<", 1, L">", 1))
ON(cv_translator_set, cv_translator_set(h, L"a", 1, L"b", 1))
ON(cv_translator_remove, cv_translator_remove(h, L"a", 1, &g_int))
ON(cv_translator_clear, cv_translator_clear(h))
ON(cv_translator_set_lookup, cv_translator_set_lookup(h, NULL, NULL))
ON(cv_translator_expand, cv_translator_expand(h, L"a", 1, g_string, &g_int))
ON(cv_translator_expand_to, cv_translator_expand(g_translator, L"a", 1, h, &g_int))
ON(cv_rtf_extract, cv_rtf_extract(h, CV_RTF_FONTS, 0, g_string))
ON(cv_rtf_extract_to, cv_rtf_extract(g_string, CV_RTF_FONTS, 0, h))
ON(cv_rtf_renumber_to, cv_rtf_renumber(L"a", 1, kPair, 1, NULL, 0, NULL, 0, h))
ON(cv_merger_free, cv_merger_free(h))
ON(cv_merger_add, cv_merger_add(h, L"{\\rtf1 a}", CV_NUL, CV_PAGE))
ON(cv_merger_count, cv_merger_count(h, &g_int))
ON(cv_merger_document, cv_merger_document(h, g_string))
ON(cv_merger_document_to, cv_merger_document(g_merger, h))
ON(cv_merger_clear, cv_merger_clear(h))

#define ROW(name, kind)                                                                                      \
    {                                                                                                        \
#name, on_##name, kind                                                                               \
    }
static const struct {
    const char* name;
    cv_result (*call)(void* handle);
    int kind;
} kOnHandles[] = {
    ROW(cv_string_copy, A_STRING),
    ROW(cv_string_free, A_STRING),
    ROW(cv_string_length, A_STRING),
    ROW(cv_string_text, A_STRING),
    ROW(cv_string_set, A_STRING),
    ROW(cv_string_append, A_STRING),
    ROW(cv_string_insert, A_STRING),
    ROW(cv_string_erase, A_STRING),
    ROW(cv_string_part, A_STRING),
    ROW(cv_string_part_to, A_STRING),
    ROW(cv_string_compare, A_STRING),
    ROW(cv_string_find, A_STRING),
    ROW(cv_string_find_last, A_STRING),
    ROW(cv_string_replace, A_STRING),
    ROW(cv_string_match, A_STRING),
    ROW(cv_string_upper, A_STRING),
    ROW(cv_string_lower, A_STRING),
    ROW(cv_string_trim, A_STRING),
    ROW(cv_string_set_integer, A_STRING),
    ROW(cv_string_set_decimal, A_STRING),
    ROW(cv_string_number_kind, A_STRING),
    ROW(cv_string_integer, A_STRING),
    ROW(cv_string_decimal, A_STRING),
    ROW(cv_blob_copy, A_BLOB),
    ROW(cv_blob_free, A_BLOB),
    ROW(cv_blob_size, A_BLOB),
    ROW(cv_blob_lock, A_BLOB),
    ROW(cv_blob_unlock, A_BLOB),
    ROW(cv_blob_set, A_BLOB),
    ROW(cv_blob_compare, A_BLOB),
    ROW(cv_blob_compare_to, A_BLOB),
    ROW(cv_blob_encode, A_BLOB),
    ROW(cv_blob_encode_to, A_STRING),
    ROW(cv_blob_decode, A_BLOB),
    ROW(cv_text_decode_to, A_STRING),
    ROW(cv_text_encode_to, A_BLOB),
    ROW(cv_file_read_text_to, A_STRING),
    ROW(cv_file_read_to, A_BLOB),
    ROW(cv_file_write, A_BLOB),
    ROW(cv_list_copy, A_LIST),
    ROW(cv_list_free, A_LIST),
    ROW(cv_list_count, A_LIST),
    ROW(cv_list_get, A_LIST),
    ROW(cv_list_get_to, A_STRING),
    ROW(cv_list_add, A_LIST),
    ROW(cv_list_set, A_LIST),
    ROW(cv_list_insert, A_LIST),
    ROW(cv_list_remove, A_LIST),
    ROW(cv_list_clear, A_LIST),
    ROW(cv_list_sort, A_LIST),
    ROW(cv_list_split, A_LIST),
    ROW(cv_list_join, A_LIST),
    ROW(cv_list_join_to, A_STRING),
    ROW(cv_translator_free, A_TRANSLATOR),
    ROW(cv_translator_delimiters, A_TRANSLATOR),
    ROW(cv_translator_set, A_TRANSLATOR),
    ROW(cv_translator_remove, A_TRANSLATOR),
    ROW(cv_translator_clear, A_TRANSLATOR),
    ROW(cv_translator_set_lookup, A_TRANSLATOR),
    ROW(cv_translator_expand, A_TRANSLATOR),
    ROW(cv_translator_expand_to, A_STRING),
    ROW(cv_rtf_extract, A_STRING),
    ROW(cv_rtf_extract_to, A_STRING),
    ROW(cv_rtf_renumber_to, A_STRING),
    ROW(cv_merger_free, A_MERGER),
    ROW(cv_merger_add, A_MERGER),
    ROW(cv_merger_count, A_MERGER),
    ROW(cv_merger_document, A_MERGER),
    ROW(cv_merger_document_to, A_STRING),
    ROW(cv_merger_clear, A_MERGER),
};

static void test_handles(void)
{
    static uint32_t junk[64];
    void* handles[KINDS];
    size_t i;
    int kind;
    handles[A_STRING] = g_string;
    handles[A_BLOB] = g_blob;
    handles[A_LIST] = g_list;
    handles[A_TRANSLATOR] = g_translator;
    handles[A_MERGER] = g_merger;
    for (i = 0; i < sizeof kOnHandles / sizeof *kOnHandles; ++i) {
        const int frees = strstr(kOnHandles[i].name, "_free") != NULL;
        g_row = kOnHandles[i].name;
        CODE(frees ? CV_OK : CV_E_NULL, kOnHandles[i].call(NULL));
        CODE(CV_E_HANDLE, kOnHandles[i].call(junk));
        CHECK(cv_last_error() == CV_E_HANDLE && *cv_last_error_text(NULL) != 0);
        for (kind = 0; kind < KINDS; ++kind) {
            if (kind != kOnHandles[i].kind)
                CODE(CV_E_KIND, kOnHandles[i].call(handles[kind]));
        }
        CHECK(g_copied_string == NULL && g_copied_blob == NULL && g_copied_list == NULL);
    }
    g_row = "";
}

/* ---- Null pointers that are no handles ---- */

static void test_null_outputs(void)
{
    CODE(CV_E_NULL, cv_string_create(NULL, L"a", 1));
    CODE(CV_E_NULL, cv_string_copy(g_string, NULL));
    CODE(CV_E_NULL, cv_string_length(g_string, NULL));
    CODE(CV_E_NULL, cv_string_text(g_string, NULL, &g_int));
    CODE(CV_E_NULL, cv_string_compare(g_string, L"a", 1, CV_EXACT, NULL));
    CODE(CV_E_NULL, cv_string_find(g_string, L"a", 1, 0, CV_EXACT, NULL));
    CODE(CV_E_NULL, cv_string_find_last(g_string, L"a", 1, CV_EXACT, NULL));
    CODE(CV_E_NULL, cv_string_match(g_string, L"a", 1, CV_EXACT, NULL));
    CODE(CV_E_NULL, cv_string_number_kind(g_string, NULL));
    CODE(CV_E_NULL, cv_string_integer(g_string, 10, NULL));
    CODE(CV_E_NULL, cv_string_decimal(g_string, NULL));
    CODE(CV_E_NULL, cv_string_append(g_string, NULL, 1));
    CODE(CV_E_NULL, cv_blob_create(NULL, "a", 1));
    CODE(CV_E_NULL, cv_blob_copy(g_blob, NULL));
    CODE(CV_E_NULL, cv_blob_size(g_blob, NULL));
    CODE(CV_E_NULL, cv_blob_lock(g_blob, NULL, &g_size));
    CODE(CV_E_NULL, cv_blob_compare(g_blob, g_blob, NULL));
    CODE(CV_E_NULL, cv_text_decode(NULL, 1, CV_UTF8, CV_REFUSE, g_string));
    CODE(CV_E_NULL, cv_text_detect("a", 1, NULL));
    CODE(CV_E_NULL, cv_text_detect(NULL, 1, &g_int));
    CODE(CV_E_NULL, cv_file_exists(L"a", 1, NULL));
    CODE(CV_E_NULL, cv_list_create(NULL));
    CODE(CV_E_NULL, cv_list_copy(g_list, NULL));
    CODE(CV_E_NULL, cv_list_count(g_list, NULL));
    CODE(CV_E_NULL, cv_translator_create(NULL));
    CODE(CV_E_NULL, cv_rtf_renumber(L"a", 1, NULL, 1, NULL, 0, NULL, 0, g_string));
    CODE(CV_E_NULL, cv_merger_create(NULL));
    CODE(CV_E_NULL, cv_merger_count(g_merger, NULL));
}

/* ---- The last error ---- */

static void test_last_error(void)
{
    int32_t length = -1, code, named = 0;
    cv_last_error_clear();
    CHECK(cv_last_error() == CV_OK && cv_last_error_system() == 0);
    CHECK(*cv_last_error_text(&length) == 0 && length == 0);
    CODE(CV_E_RANGE, cv_string_create(&g_copied_string, L"a", -2));
    CHECK(cv_last_error() == CV_E_RANGE);
    CHECK(wcscmp(cv_last_error_location(&length), L"cv_string_create") == 0 && length == 16);
    OK(cv_string_set(g_string, L"", 0));
    CHECK(cv_last_error() == CV_E_RANGE); /* a success leaves it */
    CHECK((int32_t)wcslen(cv_last_error_text(&length)) == length && length > 0);
    CODE(CV_E_MEMORY, cv_string_create(&g_copied_string, L"a", 0x7FFFFFFF));
    CHECK(g_copied_string == NULL && cv_last_error_system() == 0x8007000Eu);
    CHECK(wcsstr(cv_last_error_location(NULL), L"Thrown from") != NULL);
    cv_last_error_clear();
    CHECK(cv_last_error() == CV_OK && *cv_last_error_location(NULL) == 0);
    for (code = -1000; code <= 1000; ++code)
        named += strcmp(cv_code_name(code), "unknown code") != 0;
    CHECK(named == 19); /* CV_OK and eighteen failures */
    CHECK(strcmp(cv_code_name(CV_E_FAULT), "CV_E_FAULT") == 0);
    CHECK(cv_version() / 10000 == (int)wcstol(cv_version_text(), NULL, 10));
}

/* ---- Strings ---- */

static void test_string_editing(void)
{
    static const cv_char with_nul[] = { 'a', 0, 'b' };
    cv_string *string = made(L"banana"), *copy = NULL, *part = made(L"");
    const cv_char* text;
    int32_t count = -1;
    OK(cv_string_copy(string, &copy));
    OK(cv_string_append(string, L" split", CV_NUL));
    HAS_TEXT(string, L"banana split");
    HAS_TEXT(copy, L"banana");
    OK(cv_string_text(string, &text, NULL));
    OK(cv_string_append(string, text + 6, 3)); /* of its own text */
    HAS_TEXT(string, L"banana split sp");
    OK(cv_string_insert(string, 0, L"a ", 2));
    OK(cv_string_insert(string, 17, L"!", 1));
    HAS_TEXT(string, L"a banana split sp!");
    CODE(CV_E_RANGE, cv_string_insert(string, 19, L"!", 1));
    CODE(CV_E_RANGE, cv_string_insert(string, -1, L"!", 1));
    OK(cv_string_erase(string, 14, CV_TO_END));
    OK(cv_string_erase(string, 0, 2));
    OK(cv_string_erase(string, 12, 100));
    CODE(CV_E_RANGE, cv_string_erase(string, 13, 1));
    CODE(CV_E_RANGE, cv_string_erase(string, 0, -2));
    HAS_TEXT(string, L"banana split");
    OK(cv_string_part(string, 7, CV_TO_END, part));
    HAS_TEXT(part, L"split");
    OK(cv_string_part(string, 0, 3, string));
    HAS_TEXT(string, L"ban");
    CODE(CV_E_RANGE, cv_string_part(string, 4, 0, part));
    CODE(CV_E_RANGE, cv_string_part(string, 0, -2, part));
    HAS_TEXT(part, L"split");
    OK(cv_string_replace(copy, L"AN", 2, L"on", 2, CV_NO_CASE, &count));
    HAS_TEXT(copy, L"bonona");
    CHECK(count == 2);
    OK(cv_string_replace(copy, L"ON", 2, L"", 0, CV_EXACT, &count));
    CHECK(count == 0);
    CODE(CV_E_RANGE, cv_string_replace(copy, L"a", 1, L"b", 1, CV_NUMBERED, &count));
    CODE(CV_E_RANGE, cv_string_replace(copy, L"a", 1, L"b", -2, CV_EXACT, NULL));
    OK(cv_string_upper(copy));
    HAS_TEXT(copy, L"BONONA");
    OK(cv_string_lower(copy));
    HAS_TEXT(copy, L"bonona");
    OK(cv_string_set(copy, L"\t a-b-- \r\n", CV_NUL));
    OK(cv_string_trim(copy, NULL, 0, CV_BOTH));
    HAS_TEXT(copy, L"a-b--");
    OK(cv_string_trim(copy, L"-a", 2, CV_LEFT));
    HAS_TEXT(copy, L"b--");
    OK(cv_string_trim(copy, L"-", 1, CV_RIGHT));
    HAS_TEXT(copy, L"b");
    CODE(CV_E_RANGE, cv_string_trim(copy, NULL, 0, 0));
    CODE(CV_E_RANGE, cv_string_trim(copy, NULL, 0, 4));
    OK(cv_string_set(copy, with_nul, 3));
    OK(cv_string_append(copy, with_nul, 3));
    OK(cv_string_insert(copy, 3, with_nul, 2));
    check_text(__LINE__, copy, L"a\0ba\0a\0b", 8);
    OK(cv_string_set(copy, NULL, CV_NUL));
    HAS_TEXT(copy, L"");
    OK(cv_string_free(string));
    OK(cv_string_free(copy));
    OK(cv_string_free(part));
}

static void test_string_looking(void)
{
    static const struct {
        const cv_char *a, *b;
        int32_t rule, sign;
    } kOrders[] = {
        { L"a2", L"a10", CV_EXACT, 1 },      { L"a2", L"a10", CV_NUMBERED, -1 },
        { L"A2", L"a10", CV_NUMBERED, -1 },  { L"B2", L"a10", CV_NUMBERED_NO_CASE, 1 },
        { L"Plan", L"pLAN", CV_NO_CASE, 0 }, { L"Plan", L"plan", CV_EXACT, -1 },
        { L"abc", L"abd", CV_LOCALE, -1 },   { L"", L"", CV_LOCALE, 0 },
    };
    cv_string* string = made(L"Anna and ANNA");
    size_t i;
    int32_t at = -2;
    for (i = 0; i < sizeof kOrders / sizeof *kOrders; ++i) {
        cv_string* a = made(kOrders[i].a);
        int32_t order = 99;
        OK(cv_string_compare(a, kOrders[i].b, CV_NUL, kOrders[i].rule, &order));
        CHECK((order > 0) - (order < 0) == kOrders[i].sign);
        OK(cv_string_free(a));
    }
    CODE(CV_E_RANGE, cv_string_compare(string, L"a", 1, 5, &at));
    CODE(CV_E_RANGE, cv_string_compare(string, L"a", 1, -1, &at));
    OK(cv_string_find(string, L"anna", 4, 0, CV_NO_CASE, &at));
    CHECK(at == 0);
    OK(cv_string_find(string, L"anna", 4, 1, CV_NO_CASE, &at));
    CHECK(at == 9);
    OK(cv_string_find(string, L"anna", 4, 0, CV_EXACT, &at));
    CHECK(at == -1);
    OK(cv_string_find(string, L"", 0, 13, CV_EXACT, &at));
    CHECK(at == 13);
    CODE(CV_E_RANGE, cv_string_find(string, L"a", 1, 14, CV_EXACT, &at));
    CODE(CV_E_RANGE, cv_string_find(string, L"a", 1, -1, CV_EXACT, &at));
    CODE(CV_E_RANGE, cv_string_find(string, L"a", 1, 0, CV_LOCALE, &at));
    CHECK(at == 13);
    OK(cv_string_find_last(string, L"ann", 3, CV_NO_CASE, &at));
    CHECK(at == 9);
    OK(cv_string_find_last(string, L"nn", 2, CV_EXACT, &at));
    CHECK(at == 1);
    CODE(CV_E_RANGE, cv_string_find_last(string, L"a", 1, CV_NUMBERED, &at));
    OK(cv_string_match(string, L"A* ?nd *", CV_NUL, CV_EXACT, &at));
    CHECK(at == 1);
    OK(cv_string_match(string, L"a*", CV_NUL, CV_EXACT, &at));
    CHECK(at == 0);
    OK(cv_string_match(string, L"a*", CV_NUL, CV_NO_CASE, &at));
    CHECK(at == 1);
    CODE(CV_E_RANGE, cv_string_match(string, L"a*", CV_NUL, CV_NUMBERED, &at));
    OK(cv_string_length(string, &at));
    CHECK(at == 13);
    OK(cv_string_free(string));
}

static void test_numbers(void)
{
    static const struct {
        const cv_char* text;
        int32_t base, value;
        cv_result code;
        int32_t kind;
    } kIntegers[] = {
        { L"42", 10, 42, CV_OK, CV_INTEGER },
        { L" -7 of", 10, -7, CV_OK, CV_NO_NUMBER },
        { L"0x1F", 0, 31, CV_OK, CV_NO_NUMBER },
        { L"ff", 16, 255, CV_OK, CV_NO_NUMBER },
        { L"99999999999", 10, 2147483647, CV_OK, CV_INTEGER },
        { L"1.5", 10, 1, CV_OK, CV_DECIMAL },
        { L"ff", 10, 0, CV_E_FORMAT, CV_NO_NUMBER },
        { L"", 10, 0, CV_E_FORMAT, CV_NO_NUMBER },
        { L"-", 0, 0, CV_E_FORMAT, CV_NO_NUMBER },
        { L"2", 2, 0, CV_E_FORMAT, CV_INTEGER },
        { L"1", 17, 0, CV_E_RANGE, CV_INTEGER },
        { L"1", 1, 0, CV_E_RANGE, CV_INTEGER },
    };
    cv_string* string = made(L"");
    size_t i;
    double decimal = 0;
    for (i = 0; i < sizeof kIntegers / sizeof *kIntegers; ++i) {
        int32_t value = 0, kind = -1;
        OK(cv_string_set(string, kIntegers[i].text, CV_NUL));
        CODE(kIntegers[i].code, cv_string_integer(string, kIntegers[i].base, &value));
        OK(cv_string_number_kind(string, &kind));
        CHECK(value == kIntegers[i].value);
        CHECK(kind == kIntegers[i].kind);
    }
    OK(cv_string_set_integer(string, -INT64_C(0x7FFFFFFFFFFFFFFF) - 1));
    HAS_TEXT(string, L"-9223372036854775808");
    OK(cv_string_set_decimal(string, 0.1));
    HAS_TEXT(string, L"0.1");
    OK(cv_string_decimal(string, &decimal));
    CHECK(decimal == 0.1);
    OK(cv_string_set(string, L"0.1 m", CV_NUL));
    CODE(CV_E_FORMAT, cv_string_decimal(string, &decimal));
    CHECK(decimal == 0.1);
    OK(cv_string_free(string));
}

/* ---- Blobs ---- */

static void check_bytes(int line, cv_blob* blob, const char* wanted, uint32_t wanted_size)
{
    const void* bytes = NULL;
    uint32_t size = 99;
    if (cv_blob_lock(blob, &bytes, &size) != CV_OK || size != wanted_size ||
        (size > 0 && memcmp(bytes, wanted, size) != 0))
        fail(line, "other bytes");
    if (cv_blob_unlock(blob) != CV_OK)
        fail(line, "unlocking failed");
}
#define BYTES(blob, wanted) check_bytes(__LINE__, blob, wanted, sizeof wanted - 1)

static void test_blobs(void)
{
    static const struct {
        int32_t form;
        const cv_char *good, *bad;
    } kForms[] = {
        { CV_BASE64, L"AP96ZQ==", L"AP96ZQ" },
        { CV_HEX, L"00FF7A65", L"00FF7A6" },
        { CV_UU, L"$`/]Z90``\n`\n", L"$`/]Z\n" },
    };
    cv_blob *blob = NULL, *copy = NULL, *none = NULL;
    cv_string* text = made(L"");
    const void* bytes = NULL;
    uint32_t size = 99;
    int32_t order = 99;
    size_t i;
    OK(cv_blob_create(&blob, "\0\xFFze", 4));
    OK(cv_blob_create(&none, NULL, 0));
    OK(cv_blob_copy(blob, &copy));
    BYTES(copy, "\0\xFFze");
    BYTES(none, "");
    OK(cv_blob_set(copy, NULL, 2));
    BYTES(copy, "\0\0");
    BYTES(blob, "\0\xFFze");
    OK(cv_blob_compare(copy, blob, &order));
    CHECK(order < 0);
    OK(cv_blob_size(blob, &size));
    CHECK(size == 4);
    for (i = 0; i < sizeof kForms / sizeof *kForms; ++i) {
        OK(cv_blob_encode(blob, kForms[i].form, text));
        HAS_TEXT(text, kForms[i].good);
        OK(cv_blob_set(copy, "old", 3));
        CODE(CV_E_FORMAT, cv_blob_decode(copy, kForms[i].form, kForms[i].bad, CV_NUL));
        BYTES(copy, "old");
        OK(cv_blob_decode(copy, kForms[i].form, kForms[i].good, CV_NUL));
        BYTES(copy, "\0\xFFze");
    }
    CODE(CV_E_FORMAT, cv_blob_decode(copy, CV_BASE64, L"AP96\nZQ==", CV_NUL));
    CODE(CV_E_RANGE, cv_blob_encode(blob, 3, text));
    CODE(CV_E_RANGE, cv_blob_decode(copy, -1, L"00", 2));

    CODE(CV_E_STATE, cv_blob_unlock(blob));
    OK(cv_blob_lock(blob, &bytes, NULL));
    OK(cv_blob_lock(blob, &bytes, NULL));
    OK(cv_blob_unlock(blob));
    CODE(CV_E_STATE, cv_blob_set(blob, "a", 1));
    CODE(CV_E_STATE, cv_blob_decode(blob, CV_HEX, L"00", 2));
    CODE(CV_E_STATE, cv_text_encode(L"a", 1, CV_UTF8, CV_REFUSE, blob));
    CODE(CV_E_STATE, cv_file_read(L"a", 1, blob));
    CODE(CV_E_STATE, cv_blob_free(blob));
    CHECK(memcmp(bytes, "\0\xFFze", 4) == 0);
    OK(cv_blob_unlock(blob));
    OK(cv_blob_free(blob));
    OK(cv_blob_free(copy));
    OK(cv_blob_free(none));
    OK(cv_string_free(text));
}

/* ---- Encodings ---- */

static void test_encodings(void)
{
    static const struct {
        int32_t encoding;
        const cv_char* text;
        const char* bytes;
        uint32_t size;
    } kBoth[] = {
        { CV_UTF8, L"d\u00E9j\u00E0 \u20AC", "d\xC3\xA9j\xC3\xA0 \xE2\x82\xAC", 10 },
        { CV_UTF16_LE, L"a\u20AC", "a\0\xAC\x20", 4 },
        { CV_UTF16_BE, L"a\u20AC", "\0a\x20\xAC", 4 },
        { CV_BYTES, L"a\x80\xFF", "a\x80\xFF", 3 },
        { 1252, L"\u20ACa",
          "\x80"
          "a",
          2 },
        { CV_ANSI, L"plain", "plain", 5 },
        { CV_UTF8, L"", "", 0 },
        { CV_ANSI, L"", "", 0 },
    };
    static const struct {
        int32_t encoding;
        const cv_char *text, *read_back;
    } kNotHeld[] = {
        { CV_UTF8, L"a\xD800", L"a\xFFFD" },
        { CV_UTF16_LE, L"\xDC00z", L"\xFFFDz" },
        { CV_BYTES, L"\u0100", L"?" },
        { 1252, L"\u0416z", L"?z" },
    };
    static const struct {
        int32_t encoding;
        const char* bytes;
        uint32_t size;
        const cv_char* replaced;
    } kMalformed[] = {
        { CV_UTF8, "a\xC3z", 3, L"a\xFFFDz" },
        { CV_UTF16_BE, "\xD8\0\0a", 4,
          L"\xFFFD"
          L"a" },
        { CV_UTF16_LE, "a\0b", 3, L"a\xFFFD" },
    };
    static const struct {
        const char* bytes;
        uint32_t size;
        int32_t encoding;
    } kDetected[] = {
        { "\xEF\xBB\xBF"
          "a",
          4, CV_UTF8 },
        { "\xFF\xFE"
          "a\0",
          4, CV_UTF16_LE },
        { "\xFE\xFF\0a", 4, CV_UTF16_BE },
        { "d\xC3\xA9j\xC3\xA0", 6, CV_UTF8 },
        { "d\xE9j\xE0", 4, CV_ANSI },
        { "", 0, CV_UTF8 },
    };
    cv_string* text = made(L"");
    cv_blob* blob = NULL;
    size_t i;
    int32_t encoding = -2;
    OK(cv_blob_create(&blob, NULL, 0));
    for (i = 0; i < sizeof kBoth / sizeof *kBoth; ++i) {
        OK(cv_text_encode(kBoth[i].text, CV_NUL, kBoth[i].encoding, CV_REFUSE, blob));
        check_bytes(__LINE__, blob, kBoth[i].bytes, kBoth[i].size);
        OK(cv_text_decode(kBoth[i].bytes, kBoth[i].size, kBoth[i].encoding, CV_REFUSE, text));
        HAS_TEXT(text, kBoth[i].text);
    }
    for (i = 0; i < sizeof kNotHeld / sizeof *kNotHeld; ++i) {
        OK(cv_blob_set(blob, "old", 3));
        CODE(CV_E_ENCODING, cv_text_encode(kNotHeld[i].text, CV_NUL, kNotHeld[i].encoding, CV_REFUSE, blob));
        BYTES(blob, "old");
        OK(cv_text_encode(kNotHeld[i].text, CV_NUL, kNotHeld[i].encoding, CV_REPLACE, blob));
        {
            const void* bytes = NULL;
            uint32_t size = 0;
            OK(cv_blob_lock(blob, &bytes, &size));
            OK(cv_text_decode(bytes, size, kNotHeld[i].encoding, CV_REFUSE, text));
            OK(cv_blob_unlock(blob));
        }
        HAS_TEXT(text, kNotHeld[i].read_back);
    }
    for (i = 0; i < sizeof kMalformed / sizeof *kMalformed; ++i) {
        OK(cv_string_set(text, L"old", 3));
        CODE(CV_E_ENCODING, cv_text_decode(kMalformed[i].bytes, kMalformed[i].size, kMalformed[i].encoding,
                                           CV_REFUSE, text));
        HAS_TEXT(text, L"old");
        OK(cv_text_decode(kMalformed[i].bytes, kMalformed[i].size, kMalformed[i].encoding, CV_REPLACE, text));
        HAS_TEXT(text, kMalformed[i].replaced);
    }
    CODE(CV_E_ENCODING,
         cv_text_decode("\x81\x20", 2, 932, CV_REFUSE, text)); /* half a character of two bytes */
    for (i = 0; i < sizeof kDetected / sizeof *kDetected; ++i) {
        OK(cv_text_detect(kDetected[i].bytes, kDetected[i].size, &encoding));
        CHECK(encoding == kDetected[i].encoding);
    }
    OK(cv_text_decode("\xEF\xBB\xBFz", 4, CV_DETECT, CV_REFUSE, text));
    HAS_TEXT(text, L"z");
    CODE(CV_E_RANGE, cv_text_decode("a", 1, 4711, CV_REFUSE, text));
    CODE(CV_E_RANGE, cv_text_decode("a", 1, -2, CV_REFUSE, text));
    CODE(CV_E_RANGE, cv_text_decode("a", 1, CV_UTF8, 2, text));
    CODE(CV_E_RANGE, cv_text_decode("a", 0x80000000u, CV_UTF8, CV_REFUSE, text));
    CODE(CV_E_RANGE, cv_text_encode(L"a", 1, CV_DETECT, CV_REFUSE, blob));
    CODE(CV_E_RANGE, cv_text_encode(L"a", 1, 4711, CV_REFUSE, blob));
    CODE(CV_E_RANGE, cv_text_encode(L"a", 1, CV_UTF8, -1, blob));
    OK(cv_string_free(text));
    OK(cv_blob_free(blob));
}

/* ---- Files ---- */

static void test_files(void)
{
    wchar_t folder[MAX_PATH], path[MAX_PATH + 16], below[MAX_PATH + 32];
    cv_string* text = made(L"old");
    cv_blob* blob = NULL;
    int32_t there = -1, used = -2;
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"cvc", 0, path);
    OK(cv_blob_create(&blob, NULL, 0));

    OK(cv_file_write_text(path, CV_NUL, L"d\u00E9j\u00E0", CV_NUL, CV_UTF8, 1));
    OK(cv_file_read(path, CV_NUL, blob));
    BYTES(blob, "\xEF\xBB\xBF"
                "d\xC3\xA9j\xC3\xA0");
    OK(cv_file_read_text(path, CV_NUL, CV_DETECT, CV_REFUSE, text, &used));
    HAS_TEXT(text, L"d\u00E9j\u00E0");
    CHECK(used == CV_UTF8);
    OK(cv_file_write_text(path, CV_NUL, L"d\u00E9", CV_NUL, CV_UTF16_BE, 0));
    OK(cv_file_read(path, CV_NUL, blob));
    BYTES(blob, "\0d\0\xE9");
    CODE(CV_E_ENCODING, cv_file_write_text(path, CV_NUL, L"\u20AC", CV_NUL, CV_BYTES, 0));
    CODE(CV_E_RANGE, cv_file_write_text(path, CV_NUL, L"a", CV_NUL, CV_BYTES, 1));
    CODE(CV_E_RANGE, cv_file_write_text(path, CV_NUL, L"a", CV_NUL, CV_DETECT, 0));
    OK(cv_file_read(path, CV_NUL, blob));
    BYTES(blob, "\0d\0\xE9"); /* as it was */
    OK(cv_blob_set(blob, "bad \xFF", 5));
    OK(cv_file_write(path, CV_NUL, blob));
    CODE(CV_E_ENCODING, cv_file_read_text(path, CV_NUL, CV_UTF8, CV_REFUSE, text, &used));
    HAS_TEXT(text, L"d\u00E9j\u00E0");
    CHECK(used == CV_UTF8);
    OK(cv_file_read_text(path, (int32_t)wcslen(path), CV_UTF8, CV_REPLACE, text, NULL));
    HAS_TEXT(text, L"bad \xFFFD");
    OK(cv_file_exists(path, CV_NUL, &there));
    CHECK(there == 1);
    wcscpy(below, path);
    while (wcschr(below, L'\\') != NULL)
        *wcschr(below, L'\\') = L'/';
    OK(cv_file_exists(below, CV_NUL, &there));
    CHECK(there == 1);
    OK(cv_file_read(below, CV_NUL, blob));
    OK(cv_file_exists(folder, CV_NUL, &there));
    CHECK(there == 0);

    /* What cannot be read or written. */
    wcscpy(below, path);
    wcscat(below, L".folder");
    CreateDirectoryW(below, NULL);
    CODE(CV_E_FILE_REPLACE, cv_file_write_text(below, CV_NUL, L"new", CV_NUL, CV_UTF8, 0));
    CHECK(cv_last_error_system() != 0);
    CHECK(wcsstr(cv_last_error_text(NULL), below) != NULL);
    CODE(CV_E_FILE_OPEN, cv_file_read(below, CV_NUL, blob));
    RemoveDirectoryW(below);
    {
        const HANDLE held = CreateFileW(path, GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
        CODE(CV_E_FILE_OPEN, cv_file_read(path, CV_NUL, blob));
        CHECK(cv_last_error_system() == ERROR_SHARING_VIOLATION);
        CloseHandle(held);
    }
    wcscpy(below, path);
    wcscat(below, L"\\below.txt");
    CODE(CV_E_FILE_OPEN, cv_file_write(below, CV_NUL, blob));
    DeleteFileW(path);
    CODE(CV_E_FILE_MISSING, cv_file_read(path, CV_NUL, blob));
    CODE(CV_E_FILE_MISSING, cv_file_read_text(path, CV_NUL, CV_DETECT, CV_REFUSE, text, NULL));
    CODE(CV_E_FILE_NAME, cv_file_read(L"", 0, blob));
    CODE(CV_E_FILE_NAME, cv_file_write_text(L"a\0b", 3, L"", 0, CV_UTF8, 0));
    CODE(CV_E_FILE_NAME, cv_file_read_text(L"C:\\a?b", CV_NUL, CV_UTF8, CV_REFUSE, text, NULL));
    BYTES(blob, "bad \xFF");
    OK(cv_string_free(text));
    OK(cv_blob_free(blob));
}

/* ---- Lists ---- */

static void test_lists(void)
{
    cv_list *list = NULL, *copy = NULL;
    cv_string* text = made(L"");
    int32_t count = -1;
    OK(cv_list_create(&list));
    OK(cv_list_split(list, L"p10;p9,,fig\\,s", CV_NUL, L";,", 2, L'\\'));
    OK(cv_list_add(list, L"Apple", CV_NUL));
    OK(cv_list_join(list, L"|", 1, text));
    HAS_TEXT(text, L"p10|p9||fig,s|Apple");
    OK(cv_list_copy(list, &copy));
    OK(cv_list_sort(list, CV_EXACT, 0));
    OK(cv_list_join(list, L"|", 1, text));
    HAS_TEXT(text, L"|Apple|fig,s|p10|p9");
    OK(cv_list_sort(list, CV_NUMBERED_NO_CASE, 1));
    OK(cv_list_join(list, L"|", 1, text));
    HAS_TEXT(text, L"p10|p9|fig,s|Apple|");
    CODE(CV_E_RANGE, cv_list_sort(list, CV_LOCALE, 0));
    OK(cv_list_set(list, 4, L"zoo", 3));
    OK(cv_list_insert(list, 5, L"end", 3));
    OK(cv_list_insert(list, 0, L"begin", 5));
    OK(cv_list_remove(list, 2));
    OK(cv_list_get(list, 4, text));
    HAS_TEXT(text, L"zoo");
    OK(cv_list_count(list, &count));
    CHECK(count == 6);
    CODE(CV_E_RANGE, cv_list_get(list, 6, text));
    CODE(CV_E_RANGE, cv_list_get(list, -1, text));
    CODE(CV_E_RANGE, cv_list_set(list, 6, L"a", 1));
    CODE(CV_E_RANGE, cv_list_insert(list, 7, L"a", 1));
    CODE(CV_E_RANGE, cv_list_remove(list, 6));
    HAS_TEXT(text, L"zoo");
    OK(cv_list_join(copy, L"|", 1, text));
    HAS_TEXT(text, L"p10|p9||fig,s|Apple");
    OK(cv_list_clear(copy));
    CODE(CV_E_RANGE, cv_list_get(copy, 0, text));
    OK(cv_list_free(list));
    OK(cv_list_free(copy));
    OK(cv_string_free(text));
}

/* ---- Templates ---- */

struct asked {
    int times;
    cv_translator* translator;
    cv_result freed, changed, value_freed, nested;
};

static int32_t CVCORE_CALL answer(void* context, const cv_char* name, int32_t name_length, cv_string* value)
{
    struct asked* asked = (struct asked*)context;
    ++asked->times;
    if (name_length != (int32_t)wcslen(name))
        return CV_GIVE_UP;
    if (wcscmp(name, L"STOP") == 0)
        return -5;
    if (wcscmp(name, L"MEDDLE") == 0) {
        asked->freed = cv_translator_free(asked->translator);
        asked->changed = cv_translator_set(asked->translator, L"A", 1, L"", 0);
        asked->value_freed = cv_string_free(value);
    }
    if (wcscmp(name, L"NESTED") == 0)
        asked->nested = cv_translator_expand(asked->translator, L"[%A%]", CV_NUL, value, NULL);
    else if (wcscmp(name, L"EMPTY") != 0 && cv_string_set(value, name, name_length) != CV_OK)
        return CV_GIVE_UP;
    return wcscmp(name, L"NONE") == 0 ? CV_MISSING : CV_FOUND;
}

static void test_templates(void)
{
    cv_translator* translator = NULL;
    cv_string* text = made(L"");
    struct asked asked;
    int32_t count = -1;
    memset(&asked, 0, sizeof asked);
    OK(cv_translator_create(&translator));
    asked.translator = translator;
    OK(cv_translator_set(translator, L"A", 1, L"x", 1));
    OK(cv_translator_set(translator, L"A", 1, L"Ann", 3));
    OK(cv_translator_set(translator, L"E", 1, L"", 0));
    OK(cv_translator_expand(translator, L"<%5:A%|%.U:A%|%E%|%?:E%|%B%|%?:C%>", CV_NUL, text, &count));
    HAS_TEXT(text, L"<Ann  |ANN||||>");
    CHECK(count == 1); /* B */
    OK(cv_translator_set_lookup(translator, answer, &asked));
    OK(cv_translator_expand(translator, L"%A% %B% %NONE% %?:EMPTY%.%NESTED%", CV_NUL, text, &count));
    HAS_TEXT(text, L"Ann B  .[Ann]");
    CHECK(asked.times == 4 && asked.nested == CV_OK && count == 1);
    OK(cv_translator_expand(translator, L"%MEDDLE%", CV_NUL, text, NULL));
    HAS_TEXT(text, L"MEDDLE");
    CHECK(asked.freed == CV_E_STATE && asked.changed == CV_E_STATE && asked.value_freed == CV_E_STATE);
    CODE(CV_E_CALLBACK, cv_translator_expand(translator, L"a %STOP%", CV_NUL, text, &count));
    HAS_TEXT(text, L"MEDDLE");
    CHECK(wcsstr(cv_last_error_text(NULL), L"STOP") != NULL);
    OK(cv_translator_set_lookup(translator, NULL, NULL));
    OK(cv_translator_delimiters(translator, L"${", 2, L"}", 1));
    OK(cv_translator_expand(translator, L"${A} 50%", CV_NUL, text, &count));
    HAS_TEXT(text, L"Ann 50%");
    CODE(CV_E_RANGE, cv_translator_delimiters(translator, L"", 0, L"}", 1));
    CODE(CV_E_RANGE, cv_translator_delimiters(translator, L"{", 1, L"\0}", 2));
    OK(cv_translator_remove(translator, L"A", 1, &count));
    CHECK(count == 1);
    OK(cv_translator_remove(translator, L"A", 1, &count));
    CHECK(count == 0);
    OK(cv_translator_clear(translator));
    OK(cv_translator_expand(translator, L"${A}${E}", CV_NUL, text, &count));
    CHECK(count == 2);
    OK(cv_translator_free(translator));
    OK(cv_string_free(text));
}

/* ---- RTF ---- */

static void test_rtf(void)
{
    static const cv_char first[] = L"{\\rtf1\\ansi{\\fonttbl{\\f0\\fswiss Arial;}}\\f0 One}";
    static const cv_char second[] =
        L"{\\rtf1\\ansi{\\fonttbl{\\f0 Courier New;}}{\\colortbl;\\red255\\green0\\blue0;}\\f0\\cf1 Two}";
    static const int32_t fonts[] = { 0, 7 }, colors[] = { 1, 5, 0, 9 };
    cv_merger* merger = NULL;
    cv_string *text = made(second), *part = made(L"");
    int32_t at = -1;
    OK(cv_rtf_check(first, CV_NUL));
    CODE(CV_E_RTF, cv_rtf_check(L"{\\rtf1 {a}", CV_NUL));
    CHECK(wcsstr(cv_last_error_text(NULL), L"character") != NULL);
    CODE(CV_E_RTF, cv_rtf_check(L"", 0));
    OK(cv_merger_create(&merger));
    OK(cv_merger_document(merger, part));
    HAS_TEXT(part, L"");
    OK(cv_merger_add(merger, first, CV_NUL, CV_PARAGRAPH));
    CODE(CV_E_RTF, cv_merger_add(merger, first, 20, CV_PARAGRAPH));
    CODE(CV_E_RANGE, cv_merger_add(merger, second, CV_NUL, 2));
    OK(cv_merger_add(merger, second, CV_NUL, CV_PAGE));
    OK(cv_merger_count(merger, &at));
    CHECK(at == 2);
    OK(cv_merger_document(merger, part));
    OK(cv_string_find(part, L"\\page", CV_NUL, 0, CV_EXACT, &at));
    CHECK(at > 0);
    OK(cv_string_find(part, L"\\f1\\cf1 Two", CV_NUL, 0, CV_EXACT, &at));
    CHECK(at > 0);
    OK(cv_string_text(part, &g_text, &at));
    OK(cv_rtf_check(g_text, at));
    OK(cv_merger_clear(merger));
    OK(cv_merger_count(merger, &at));
    CHECK(at == 0);

    OK(cv_rtf_extract(text, CV_RTF_HEADER, 1, part));
    HAS_TEXT(part, L"{\\rtf1\\ansi");
    OK(cv_rtf_extract(text, CV_RTF_STYLES, 1, part));
    HAS_TEXT(part, L"");
    OK(cv_rtf_extract(text, CV_RTF_COLORS, 0, part));
    HAS_TEXT(part, L"{\\colortbl;\\red255\\green0\\blue0;}");
    OK(cv_rtf_extract(text, CV_RTF_COLORS, 1, part));
    OK(cv_rtf_extract(text, CV_RTF_FONTS, 1, part));
    HAS_TEXT(part, L"{\\fonttbl{\\f0 Courier New;}}");
    HAS_TEXT(text, L"\\f0\\cf1 Two");
    CODE(CV_E_RANGE, cv_rtf_extract(text, 4, 0, part));
    CODE(CV_E_RANGE, cv_rtf_extract(text, CV_RTF_FONTS, 0, text));
    OK(cv_rtf_renumber(L"\\f0\\cf1 Two\\cf0 ", CV_NUL, fonts, 1, colors, 2, NULL, 0, part));
    HAS_TEXT(part, L"\\f7\\cf5 Two\\cf0 ");
    CODE(CV_E_RANGE, cv_rtf_renumber(L"a", 1, fonts, -1, NULL, 0, NULL, 0, part));
    OK(cv_merger_free(merger));
    OK(cv_string_free(text));
    OK(cv_string_free(part));
}

int main(void)
{
    static const struct {
        const char* name;
        void (*run)(void);
    } kTests[] = {
        { "handles", test_handles },
        { "null outputs", test_null_outputs },
        { "last error", test_last_error },
        { "string editing", test_string_editing },
        { "string looking", test_string_looking },
        { "numbers", test_numbers },
        { "blobs", test_blobs },
        { "encodings", test_encodings },
        { "files", test_files },
        { "lists", test_lists },
        { "templates", test_templates },
        { "rtf", test_rtf },
    };
    const size_t count = sizeof kTests / sizeof *kTests;
    size_t i;
    g_string = made(L"");
    OK(cv_blob_create(&g_blob, NULL, 0));
    OK(cv_list_create(&g_list));
    OK(cv_translator_create(&g_translator));
    OK(cv_merger_create(&g_merger));
    for (i = 0; i < count; ++i) {
        const int before = g_failures;
        kTests[i].run();
        printf("%s: %s\n", kTests[i].name, g_failures == before ? "passed" : "FAILED");
    }
    OK(cv_string_free(g_string));
    OK(cv_blob_free(g_blob));
    OK(cv_list_free(g_list));
    OK(cv_translator_free(g_translator));
    OK(cv_merger_free(g_merger));
    if (g_failures > 0) {
        printf("test program FAILED: %d checks\n", g_failures);
        return 1;
    }
    printf("test program passed: %u tests\n", (unsigned)count);
    return 0;
}
