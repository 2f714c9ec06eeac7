// debugviews.cpp: values for the debugger's views to show; tests/debugviews_check.sh stops it in Stop.
#include <cvcore.h>

#include <cstdio>

namespace {

struct Note : SDListItem {
    explicit Note(int p) : priority(p) {}
    int priority;
};

struct Folder : STreeItem {
    explicit Folder(SString n) : name(n) {}
    SString name;
};

class Frame : public SCmdTarget {
    S_DECLARE_DYNCREATE(Frame)
    S_DECLARE_MESSAGE_MAP()

public:
    void OnAdd() {}
    void OnSome(UINT) {}
    void OnUpdateAdd(SCmdUI*) {}
};

S_IMPLEMENT_DYNCREATE(Frame, SCmdTarget)

S_BEGIN_MESSAGE_MAP(Frame, SCmdTarget)
S_ON_COMMAND(101, OnAdd)
S_ON_COMMAND_RANGE(201, 209, OnSome)
S_ON_UPDATE_COMMAND_UI(101, OnUpdateAdd)
S_END_MESSAGE_MAP()

__attribute__((noinline)) void Stop()
{
    asm volatile("");
}

} // namespace

int main()
{
    SString text(L"caf\u00e9 \"\U0001f600\"\n"), copy(text), empty, locked(L"abc"), wild;
    locked.LockTchar(10);
    wchar_t notAText[8] = { 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, L'x' };
    wchar_t* const inside = notAText + 6;
    CopyMemory(&wild, &inside, sizeof inside);

    SBlob null, none, bytes, large;
    none.Alloc(0);
    bytes.SetAsHex(L"00FF7A");
    SBlob shared(bytes);
    large.Alloc(100);

    SMap<SString, long> stock;
    SMap<int, double> numbers, noNumbers;
    for (const wchar_t* name : { L"pears", L"apples", L"figs" })
        stock.Set(name, SString(name).Length());
    for (int i = 9; i >= 0; --i)
        numbers.Set(i * 7 % 10, i / 2.0);
    SStringMap settings;
    settings.AddFromList(L"width=100;title=a", L";", L'\\');
    SStringUnsortedMap ordered;
    ordered.AddFromList(L"z=1;a=2", L";", L'\\');

    STable<int> squares, noSquares;
    for (int i = 0; i < 5; ++i)
        squares.Add(i * i);
    STable<int> sameSquares(squares);
    STable<SString> names;
    names.Add(L"one");
    names.Add(text);

    Note first(1), second(2);
    SDList list, emptyList;
    list.AddTail(&first);
    list.AddTail(&second);

    STree tree;
    Folder* const root = new Folder(L"C:");
    Folder* const child = new Folder(L"Windows");
    tree.InsertLast(root);
    tree.InsertLast(child, root);
    tree.InsertLast(new Folder(L"Fonts"), child);
    tree.InsertLast(new Folder(L"Users"), root);
    tree.InsertLast(new Folder(L"D:"));

    Frame frame;
    const SMsgMap* const map = frame.GetMessageMap();
    const SClassInfo* const info = frame.GetClassInfo();
    Stop();
    std::printf("%d %s\n", map->entries != nullptr, info->name);
    locked.UnlockTchar();
    const wchar_t* const sound = empty;
    CopyMemory(&wild, &sound, sizeof sound);
}
