/* cclient: what a program in C does with the library, through the flat face alone.
 *
 *     cclient merge OUT.rtf FILE.rtf...          one RTF document of several, a page for each
 *     cclient show FILE.txt                      a text in whatever encoding, in UTF-8
 *     cclient fill TEMPLATE.txt NAME=VALUE...    a template with its values, in UTF-8; $NAME comes from the environment
 *
 * Ends with 0, or with 2 and one line on standard error.
 */
#include "cvcore_c.h"

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

enum { kDone = 0, kFailed = 2 };

/* Texts of the library are UTF-16; a console or a pipe is given bytes. */
static void print(FILE* stream, const cv_string* text)
{
    const cv_char* units;
    const void* bytes;
    uint32_t size;
    int32_t length;
    cv_blob* blob = NULL;
    if (cv_string_text(text, &units, &length) == CV_OK && cv_blob_create(&blob, NULL, 0) == CV_OK &&
        cv_text_encode(units, length, CV_UTF8, CV_REPLACE, blob) == CV_OK &&
        cv_blob_lock(blob, &bytes, &size) == CV_OK) {
        fwrite(bytes, 1, size, stream);
        cv_blob_unlock(blob);
    }
    cv_blob_free(blob);
}

/* The last error in one line; `about`, where there is one, is what it happened to. */
static int failed(const cv_char* about)
{
    cv_string* line = NULL;
    if (cv_string_create(&line, L"cclient: ", CV_NUL) == CV_OK) {
        if (about) {
            cv_string_append(line, about, CV_NUL);
            cv_string_append(line, L": ", CV_NUL);
        }
        cv_string_append(line, cv_last_error_text(NULL), CV_NUL);
        cv_string_append(line, L"\n", 1);
        print(stderr, line);
    }
    cv_string_free(line);
    return kFailed;
}

/* ---- Merging ---- */

static cv_result add_letter(cv_merger* merger, const cv_char* path)
{
    const cv_char* rtf;
    int32_t length;
    cv_string* letter = NULL;
    cv_result result = cv_string_create(&letter, NULL, 0);
    if (result == CV_OK)
        result = cv_file_read_text(path, CV_NUL, CV_BYTES, CV_REFUSE, letter, NULL);
    if (result == CV_OK)
        result = cv_string_text(letter, &rtf, &length);
    if (result == CV_OK)
        result = cv_merger_add(merger, rtf, length, CV_PAGE);
    cv_string_free(letter);
    return result;
}

static cv_result write_merged(const cv_merger* merger, const cv_char* path)
{
    const cv_char* rtf;
    int32_t length;
    cv_string* document = NULL;
    cv_result result = cv_string_create(&document, NULL, 0);
    if (result == CV_OK)
        result = cv_merger_document(merger, document);
    if (result == CV_OK)
        result = cv_string_text(document, &rtf, &length);
    if (result == CV_OK)
        result = cv_file_write_text(path, CV_NUL, rtf, length, CV_BYTES, 0);
    cv_string_free(document);
    return result;
}

static int merge(const cv_char* out, wchar_t** files, int32_t count)
{
    int i;
    cv_merger* merger = NULL;
    cv_result result = cv_merger_create(&merger);
    const cv_char* about = NULL;
    for (i = 0; i < count && result == CV_OK; ++i) {
        result = add_letter(merger, files[i]);
        about = result == CV_E_RTF ? files[i] : NULL; /* failures of files name theirs */
    }
    if (result == CV_OK)
        result = write_merged(merger, out);
    if (result == CV_OK && cv_merger_count(merger, &count) == CV_OK)
        printf("%d documents\n", (int)count);
    cv_merger_free(merger);
    return result == CV_OK ? kDone : failed(about);
}

/* ---- Showing a text ---- */

static int show(const cv_char* path)
{
    int32_t encoding = CV_DETECT;
    cv_string* text = NULL;
    cv_result result = cv_string_create(&text, NULL, 0);
    if (result == CV_OK)
        result = cv_file_read_text(path, CV_NUL, CV_DETECT, CV_REPLACE, text, &encoding);
    if (result == CV_OK) {
        print(stdout, text);
        fprintf(stderr, "code page %d\n", (int)encoding);
    }
    cv_string_free(text);
    return result == CV_OK ? kDone : failed(NULL);
}

/* ---- Filling a template ---- */

/* Called for each name that was given no value. */
static int32_t CVCORE_CALL from_environment(void* context, const cv_char* name, int32_t name_length,
                                            cv_string* value)
{
    const wchar_t* known;
    (void)context;
    (void)name_length;
    if (*name != L'$')
        return CV_MISSING;
    known = _wgetenv(name + 1);
    if (!known)
        return CV_MISSING;
    return cv_string_set(value, known, CV_NUL) == CV_OK ? CV_FOUND : CV_GIVE_UP;
}

static cv_result set_values(cv_translator* translator, wchar_t** pairs, int count)
{
    int i;
    cv_result result = cv_translator_set_lookup(translator, from_environment, NULL);
    for (i = 0; i < count && result == CV_OK; ++i) {
        const wchar_t* const equals = wcschr(pairs[i], L'=');
        const int32_t name_length = equals ? (int32_t)(equals - pairs[i]) : CV_NUL;
        result = cv_translator_set(translator, pairs[i], name_length, equals ? equals + 1 : L"", CV_NUL);
    }
    return result;
}

static int fill(const cv_char* path, wchar_t** pairs, int count)
{
    const cv_char* pattern;
    int32_t length, missing = 0;
    cv_translator* translator = NULL;
    cv_string *form = NULL, *letter = NULL;
    cv_result result = cv_translator_create(&translator);
    if (result == CV_OK)
        result = cv_string_create(&form, NULL, 0);
    if (result == CV_OK)
        result = cv_string_create(&letter, NULL, 0);
    if (result == CV_OK)
        result = set_values(translator, pairs, count);
    if (result == CV_OK)
        result = cv_file_read_text(path, CV_NUL, CV_DETECT, CV_REFUSE, form, NULL);
    if (result == CV_OK)
        result = cv_string_text(form, &pattern, &length);
    if (result == CV_OK)
        result = cv_translator_expand(translator, pattern, length, letter, &missing);
    if (result == CV_OK)
        print(stdout, letter);
    if (missing > 0)
        fprintf(stderr, "%d values are missing\n", (int)missing);
    cv_string_free(letter);
    cv_string_free(form);
    cv_translator_free(translator);
    return result == CV_OK ? kDone : failed(NULL);
}

int wmain(int count, wchar_t** arguments)
{
    if (count >= 4 && wcscmp(arguments[1], L"merge") == 0)
        return merge(arguments[2], arguments + 3, count - 3);
    if (count == 3 && wcscmp(arguments[1], L"show") == 0)
        return show(arguments[2]);
    if (count >= 3 && wcscmp(arguments[1], L"fill") == 0)
        return fill(arguments[2], arguments + 3, count - 3);
    fprintf(stderr,
            "cclient: usage: cclient merge OUT.rtf FILE.rtf... | show FILE | fill TEMPLATE NAME=VALUE...\n");
    return kFailed;
}
