// starget.h: exceptions that name who is to catch them, and those who are ready to.
//
//     // who is ready                                            // who throws
//     SActiveThrowTarget here(L"Load,Import");                   STargetedException e(S_HERE, L"Load", message, 17);
//     try { Open(); }                                            if (e.HasTarget())
//     catch (const STargetedException& e) {                          throw e;
//         if (!e.Match(here)) throw;
//         Show(e.GetDisplayText());
//     }
//
// Names stand behind one another with commas and without blanks; empty ones count for nothing.
//
// Value    exceptions are copied and thrown by value, their texts shared. A target is bound to its scope.
// Threads  the register of active targets is process-wide and takes no lock: for the main thread.
// Failure  activating a target may throw SEOutOfMemory, with nothing activated; Done and the questions throw nothing.
#ifndef STARGET_H
#define STARGET_H

#include "cvbase.h"
#include "strclss.h"

/// Somebody who catches targeted exceptions, by name.
class CVCORE_API SThrowTarget {
public:
    /// Knows its names and is not active. The text is not copied and must live as long as the target.
    explicit SThrowTarget(const wchar_t* names) : m_names(names), m_active(0) {}
    ~SThrowTarget() { Done(); }
    SThrowTarget(const SThrowTarget&) = delete;
    SThrowTarget& operator=(const SThrowTarget&) = delete;

    /// Takes the target out of the register; harmless when it is not in it.
    void Done() noexcept;

    const wchar_t* GetNames() const { return m_names; }
    int IsActive() const { return m_active; }

protected:
    /// Puts the target into the register, once for each time that a name stands in it; harmless when it is in already.
    void Activate();

private:
    const wchar_t* m_names;
    int m_active;
};

/// A target that is active from its construction to its end, or to Done.
class SActiveThrowTarget : public SThrowTarget {
public:
    explicit SActiveThrowTarget(const wchar_t* names) : SThrowTarget(names) { Activate(); }
};

/// An exception for certain targets. It is not an SException, so that nobody catches it by the way.
class CVCORE_API STargetedException {
public:
    /// `targets` are the names of those who are to catch it, `value` is a code of the thrower's choice.
    STargetedException(const char* function, const char* file, unsigned long line, const SString& targets,
                       const SString& message, int value = 0);
    STargetedException(const STargetedException&) = default;
    STargetedException& operator=(const STargetedException&) = default;

    /// The message, with the location behind it while the unexpected-exception dialog may be shown (SExceptionHasDialog).
    virtual SString GetDisplayText() const;
    virtual int GetValue() const;
    /// "\nThrown from:\n file(line): function", cut at 1073 characters.
    virtual const wchar_t* GetLocation() const;
    virtual ~STargetedException();

    const wchar_t* GetTargets() const { return m_targets; }
    /// The message alone.
    const wchar_t* GetText() const { return m_message; }

    /// Is one of the exception's names among those of the target? Only the end of a name is looked at: each name is
    /// searched for in the target's text, and its first occurrence counts when a comma or the end follows. So "Load"
    /// matches a target "FileLoad", and does not match "Loader,Load". That is meant; targets rely on it.
    int Match(const SThrowTarget& target) const noexcept;
    /// Is a target active that has one of the names exactly?
    int HasTarget() const noexcept;

protected:
    /// Formats the location and stores it.
    void FmtDbgFileLine(const char* function, const char* file, unsigned long line);

private:
    SString m_targets;
    SString m_message;
    int m_value;
    SString m_location;
};

#endif
