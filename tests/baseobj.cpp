// Run-time classes: descriptors, the list they stand in, tests of objects, the root's heap.
#include "baseobj.h"

#include "sexcept.h"
#include "support/allocfail.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Shape : public SObject {
    S_DECLARE_DYNAMIC(Shape)
};
class Circle : public Shape {
    S_DECLARE_DYNCREATE(Circle)
    int radius = 7;
};
class Ring : public Circle {
    S_DECLARE_DYNCREATE(Ring)
};
S_IMPLEMENT_DYNAMIC(Shape, SObject)
S_IMPLEMENT_DYNCREATE(Circle, Shape)
S_IMPLEMENT_DYNCREATE(Ring, Circle)

class Root : public SObject {};

bool IsListed(const SClassInfo* wanted)
{
    for (const SClassInfo* info = g_pClassInfo; info; info = info->next) {
        if (info == wanted)
            return true;
    }
    return false;
}

struct TextDump : SDump {
    std::wstring text;
    void WriteString(const wchar_t* piece) override { text += piece; }
};

} // namespace

TEST(ClassInfo, DescribesItsClass)
{
    EXPECT_STREQ("Circle", Circle::__clsinf.name);
    EXPECT_EQ(sizeof(Circle), Circle::__clsinf.size);
    EXPECT_EQ(&Shape::__clsinf, Circle::__clsinf.base);
    EXPECT_EQ(nullptr, SObject::__clsinf.base);
    EXPECT_EQ(sizeof(void*), SObject::__clsinf.size);
    EXPECT_EQ(nullptr, S_RUNTIME_CLASS(Shape)->CreateObject());

    SObject* made = S_RUNTIME_CLASS(Ring)->CreateObject();
    ASSERT_NE(nullptr, made);
    EXPECT_EQ(&Ring::__clsinf, made->GetClassInfo());
    EXPECT_EQ(7, static_cast<Ring*>(made)->radius);
    delete made;
}

TEST(ClassInfo, ObjectsAreTestedAgainstExactAndAncestorClasses)
{
    Circle circle;
    Root root;
    const struct {
        const SObject* object;
        const SClassInfo* info;
        int isA, isKindOf, isDerivedFrom;
    } cases[] = {
        { &circle, &Circle::__clsinf, 1, 1, 0 },  { &circle, &Shape::__clsinf, 0, 1, 1 },
        { &circle, &SObject::__clsinf, 0, 1, 1 }, { &circle, &Ring::__clsinf, 0, 0, 0 },
        { &root, &SObject::__clsinf, 1, 1, 0 },   { &circle, nullptr, 0, 0, 0 },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.info ? c.info->name : "null");
        EXPECT_EQ(c.isA, c.object->IsA(c.info));
        EXPECT_EQ(c.isKindOf, c.object->IsKindOf(c.info));
        EXPECT_EQ(c.isDerivedFrom, c.object->IsDerivedFrom(c.info));
    }
    EXPECT_EQ(1, Ring::__clsinf.IsDerivedFrom(&SObject::__clsinf));
    EXPECT_EQ(0, Ring::__clsinf.IsDerivedFrom(&Ring::__clsinf));
}

TEST(ClassInfo, TestsOfANullObjectAnswerZero)
{
    SObject* volatile hidden = nullptr; // so that the compiler cannot know
    SObject* none = hidden;
    EXPECT_EQ(0, none->IsA(&SObject::__clsinf));
    EXPECT_EQ(0, none->IsKindOf(&SObject::__clsinf));
    EXPECT_EQ(0, none->IsDerivedFrom(&SObject::__clsinf));
}

TEST(ClassInfoList, KeepsTheOrderOfRegistrationWhateverLeaves)
{
    ASSERT_TRUE(IsListed(&SObject::__clsinf));
    SClassInfo* last = &Ring::__clsinf;
    while (last->next)
        last = last->next;
    auto* a = new SClassInfo("Passing", 4, &SObject::__clsinf, nullptr);
    auto* b = new SClassInfo("Passing", 4, &SObject::__clsinf, nullptr);
    auto* c = new SClassInfo("Other", 4, a, nullptr);
    EXPECT_EQ(a, last->next);
    EXPECT_EQ(a, SClassInfo::Find("Passing")) << "the first of equal names";
    delete b; // out of the middle
    EXPECT_EQ(c, a->next);
    delete c; // the tail: the one before becomes it
    EXPECT_EQ(nullptr, a->next);
    SClassInfo next("Next", 4, a, nullptr);
    EXPECT_EQ(&next, a->next);
    delete a;
    EXPECT_EQ(&next, last->next);
    EXPECT_EQ(nullptr, SClassInfo::Find("Passing"));
    EXPECT_EQ(nullptr, SClassInfo::Find("next")) << "names are compared exactly";
    EXPECT_EQ(nullptr, SClassInfo::Find(nullptr));
}

TEST(ClassInfoList, ACopySharesTheLinkButIsNotListed)
{
    SClassInfo first("First", 4, &SObject::__clsinf, nullptr);
    SClassInfo second("Second", 8, &SObject::__clsinf, nullptr);
    {
        SClassInfo copy(first);
        EXPECT_EQ(&second, copy.next);
        EXPECT_FALSE(IsListed(&copy));
        SClassInfo assigned(copy);
        assigned = second;
        EXPECT_STREQ("Second", assigned.name);
        EXPECT_EQ(8u, assigned.size);
    }
    EXPECT_TRUE(IsListed(&first));
    EXPECT_EQ(&second, first.next);
}

TEST(ClassInfoList, AClientModuleJoinsAndLeaves)
{
    ASSERT_EQ(nullptr, SClassInfo::Find("PluginPane"));
    for (int round = 0; round < 3; ++round) {
        HMODULE plugin = ::LoadLibraryW(L"baseobj_plugin.dll");
        ASSERT_NE(nullptr, plugin);
        SClassInfo* pane = SClassInfo::Find("PluginPane");
        ASSERT_NE(nullptr, pane);
        SObject* made = pane->CreateObject();
        EXPECT_EQ(1, made->IsKindOf(&SObject::__clsinf));
        EXPECT_EQ(pane, made->GetClassInfo());
        delete made;
        ASSERT_TRUE(::FreeLibrary(plugin));
        ASSERT_EQ(nullptr, SClassInfo::Find("PluginPane"));
    }
}

TEST(Object, LivesInTheRunTimesHeapAndSaysWhereItFailed)
{
    const int points = WalkAllocationFailures(
        [] {}, [] { delete Circle::CreateObject(); },
        [](const AllocationTrial& trial) {
            if (!trial.failed)
                return;
            EXPECT_TRUE(Threw<SECOMException>(trial, [](const SECOMException& e) {
                EXPECT_EQ(E_OUTOFMEMORY, e.GetResult());
                EXPECT_STREQ(
                    L"\nThrown from:\n core/h/baseobj(80): static void* SObject::operator new(size_t)",
                    e.GetLocation());
            }));
        });
    EXPECT_EQ(1, points);
    alignas(Circle) char place[sizeof(Circle)];
    Circle* here = new (place) Circle;
    EXPECT_EQ(static_cast<void*>(place), here);
    here->~Circle();
}

TEST(Object, DumpsOfUnknownObjectsSaySo)
{
    TextDump dump;
    Circle circle;
    dump << static_cast<const SObject*>(nullptr) << L" | " << &circle << L" | " << 12L << L" | "
         << SString(L"text");
    EXPECT_EQ(L"NULL Pointer | Dump not available | 12 | text", dump.text);
    EXPECT_EQ(1, SAssertValidObject(nullptr, "file", "expression", 1, nullptr));
}
