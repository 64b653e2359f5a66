#pragma once

#include "Doctor/Finding.h"
#include "Doctor/SetUp.h"
#include "ExitCode.h"

#include <functional>

namespace Vqws {

class Library;
struct Context;

/// All checks, one after the other, in the order in which one fault explains the next. None runs after cancellation, since the
/// library is shutting down then.
///
/// Thread: the main thread. Owner: the command. Errors: the findings.
class Examination {
public:
    using Show = std::function<void(const Finding&)>;

    /// `show` is called with each finding, and may be empty.
    explicit Examination(Context& context, Show show = {});

    void beforeTheStart();
    void afterTheStart(const Library& library);
    /// Starts the library between the two, and without a fault also signs the product on and examines it. Errors: the exit
    /// status of the library, which has printed the reason.
    [[nodiscard]] ExitCode startAndExamine(Library& library);

    [[nodiscard]] const Findings& findings() const { return m_findings; }
    /// The first one; null without a fault.
    [[nodiscard]] const Finding* firstFault() const;

private:
    [[nodiscard]] ExitCode examineProduct(Library& library, bool hadLogin);
    void add(const char* what, const std::function<Findings()>& check);
    void add(const Findings& found);

    Context& m_context;
    const Show m_show;
    const SetUp m_setUp;
    Findings m_findings;
};

} // namespace Vqws
