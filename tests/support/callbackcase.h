// callbackcase.h: callbacks that throw once, and what is to be seen outside of the call below which they did.
//
//     void OnSize() { Called("OnSize"); }                       // the callback
//     const CallbackCase kCases[] = { { "OnSize", [] { window.Resize(); } } };
//     for (const CallbackCase& c : kCases)
//         ExpectThrownOut(c);
#ifndef TESTS_CALLBACKCASE_H
#define TESTS_CALLBACKCASE_H

#include "callback.h"
#include "notifmgr.h"
#include "sexcept.h"

#include "support/counters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <typeinfo>

/// What the callbacks throw: a class of the client's.
class Inside : public SException {
public:
    Inside(const char* function, const char* file, unsigned long line)
        : SException(function, file, line, L"thrown inside")
    {}
    const wchar_t* GetExceptionName() const override { return L"Inside"; }
};

/// The callback that is to throw; null behind that.
inline const char* g_armed = nullptr;
/// Where it threw.
inline std::wstring g_place;

/// In each callback, with its name.
inline void Called(const char* callback)
{
    if (!g_armed || std::strcmp(g_armed, callback) != 0)
        return;
    g_armed = nullptr;
    const Inside thrown(S_HERE);
    g_place = thrown.GetLocation();
    throw Inside(thrown);
}

/// Hears a kind of event for as long as it lives.
class Subscription {
public:
    explicit Subscription(int kind) : m_kind(kind) { SNotificationManager::Subscribe(kind, Hear, nullptr); }
    ~Subscription() { SNotificationManager::Unsubscribe(m_kind, Hear, nullptr); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

private:
    static void Hear(int, WPARAM, LPARAM, void*) { Called("SNotificationManager::Subscriber"); }

    int m_kind;
};

struct CallbackCase {
    const char* callback; ///< the name it has for Called
    void (*work)();       ///< ends in it
    const char* below = "";
};

/// Lets the callback throw below the work: what comes out has the type, the words and the place of what was thrown.
/// Behind that nothing is parked, the same work is done, and once what is made on first use is there, nothing is lost.
inline void ExpectThrownOut(const CallbackCase& c)
{
    SCOPED_TRACE(std::string(c.callback) + " " + c.below);
    const auto thrownOut = [&c] {
        g_armed = c.callback;
        try {
            c.work();
        }
        catch (const SException& e) {
            EXPECT_EQ(typeid(Inside), typeid(e));
            EXPECT_STREQ(L"thrown inside", e.GetText());
            EXPECT_EQ(g_place, e.GetLocation());
            EXPECT_NE(std::wstring::npos, g_place.find(L"callbackcase")) << testing::PrintToString(g_place);
            EXPECT_EQ(nullptr, g_armed);
            return true;
        }
        catch (...) {
            ADD_FAILURE() << "another one came out";
        }
        return false;
    };
    ASSERT_TRUE(thrownOut()) << (g_armed ? "nobody called it" : "it was swallowed");
    EXPECT_FALSE(SIsExceptionParked());
    EXPECT_NO_THROW(c.work());
    thrownOut();
    const ResourceCount before = CountResources();
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(thrownOut());
    EXPECT_EQ(before, CountResources());
    EXPECT_FALSE(SIsExceptionParked());
}

#endif
