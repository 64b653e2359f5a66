#include "Commands/Commands.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "Texts.h"

namespace Vqws {

ExitCode runLogout(Context& context) {
    Library library(context);
    const ExitCode opened = library.open(Library::Need::User);
    if (opened != ExitCode::Ok)
        return opened;
    const QString user = library.userName();
    {
        const Progress::Wait wait(context.progress, QStringLiteral("the account server"));
        if (!library.manager().Logout())
            return library.fail(QStringLiteral("The sign-out failed; the log says why."));
    }
    context.output.line(QStringLiteral("%1 is signed out.").arg(user));
    context.output.object({{QStringLiteral("user"), known(user)}});
    return ExitCode::Ok;
}

} // namespace Vqws
