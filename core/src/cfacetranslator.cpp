// cfacetranslator.cpp: templates of the flat face.
#include "cface.h"

#include "strtrans.h"

namespace {

constexpr long kId = 0; // of all values: the face has names only

// One expansion: values of the handle's table first, then the client's callback.
class Expansion : public SStringTranslator {
public:
    explicit Expansion(cv_translator& own) : m_own(own), m_missing(0)
    {
        if (own.start.Length() == 1 && own.start == own.end)
            ChangeDelimiter(own.start[0]);
        else
            ChangeDelimiter(own.start, own.end);
        ++own.running;
    }
    ~Expansion() override { --m_own.running; }

    int Missing() const { return m_missing; }

protected:
    int LookupVariable(const SString& name, OPTIONS& options, long, SString* value, int* missing) override
    {
        const SSymbol* const symbol = m_own.symbols.Find(name, kId);
        const bool found = symbol ? (*value = symbol->value, true) : m_own.lookup && Ask(name, *value);
        if ((options.flags & OPTIONS::kOptional) && (!found || value->IsEmpty())) {
            *missing = 1;
            return 0;
        }
        m_missing += !found;
        return found;
    }

private:
    bool Ask(const SString& name, SString& value) const
    {
        cv_string lent;
        lent.lent = true;
        const int32_t answer = m_own.lookup(m_own.context, name, name.Length(), &lent);
        if (answer < 0)
            throw FaceRefusal{ CV_E_CALLBACK, nullptr, L"the callback gave up at " + name };
        if (answer != CV_MISSING)
            value = lent.text;
        return answer != CV_MISSING;
    }

    cv_translator& m_own;
    int m_missing;
};

cv_translator& AtRest(cv_translator* translator)
{
    cv_translator& own = FaceObject(translator);
    if (own.running > 0)
        FaceRefuse(CV_E_STATE, L"the translator is at work");
    return own;
}

SString Delimiter(const cv_char* text, int32_t length)
{
    const SString given(FaceGiven(text, length).PszStr()); // up to its NUL
    if (given.IsEmpty())
        FaceRefuse(CV_E_RANGE, L"a delimiter is empty");
    return given;
}

} // namespace

cv_result CVCORE_CALL cv_translator_create(cv_translator** translator)
{
    return FaceCreate(__func__, translator, [](cv_translator&) {});
}

cv_result CVCORE_CALL cv_translator_free(cv_translator* translator)
{
    return FaceFree(__func__, translator, [](cv_translator& ended) { AtRest(&ended); });
}

cv_result CVCORE_CALL cv_translator_delimiters(cv_translator* translator, const cv_char* start,
                                               int32_t start_length, const cv_char* end, int32_t end_length)
{
    return FaceCall(__func__, [&] {
        cv_translator& own = AtRest(translator);
        SString opening = Delimiter(start, start_length), closing = Delimiter(end, end_length);
        own.start.swap(opening);
        own.end.swap(closing);
    });
}

cv_result CVCORE_CALL cv_translator_set(cv_translator* translator, const cv_char* name, int32_t name_length,
                                        const cv_char* value, int32_t value_length)
{
    return FaceCall(__func__, [&] {
        AtRest(translator).symbols.Set(FaceGiven(name, name_length), kId, FaceGiven(value, value_length));
    });
}

cv_result CVCORE_CALL cv_translator_remove(cv_translator* translator, const cv_char* name,
                                           int32_t name_length, int32_t* removed)
{
    return FaceCall(__func__, [&] {
        const int count = AtRest(translator).symbols.Remove(FaceGiven(name, name_length));
        if (removed)
            *removed = count > 0;
    });
}

cv_result CVCORE_CALL cv_translator_clear(cv_translator* translator)
{
    return FaceCall(__func__, [&] { AtRest(translator).symbols.Clear(); });
}

cv_result CVCORE_CALL cv_translator_set_lookup(cv_translator* translator, cv_lookup lookup, void* context)
{
    return FaceCall(__func__, [&] {
        cv_translator& own = AtRest(translator);
        own.lookup = lookup;
        own.context = context;
    });
}

cv_result CVCORE_CALL cv_translator_expand(cv_translator* translator, const cv_char* pattern, int32_t length,
                                           cv_string* text, int32_t* missing)
{
    return FaceCall(__func__, [&] {
        cv_translator& own = FaceObject(translator);
        SString& to = FaceText(text);
        Expansion expansion(own);
        int status = 0;
        const SString given = FaceGiven(pattern, length);
        to = expansion.Translate(given, status, kId);
        if (missing)
            *missing = expansion.Missing();
    });
}
