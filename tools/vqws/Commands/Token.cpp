#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "Texts.h"

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

const auto oauth2Option = QStringLiteral("oauth2");

OAuth2TokenType typeNamed(const QString& name) {
    if (name.compare(QLatin1String("RT"), Qt::CaseInsensitive) == 0)
        return RT;
    return name.compare(QLatin1String("JWT"), Qt::CaseInsensitive) == 0 ? JWT : InvalidTokenType;
}

ExitCode show(const Context& context, const QString& token, const QDateTime& expires) {
    context.output.line(token);
    context.output.note(QStringLiteral("Expires %1.").arg(dateText(expires)));
    context.output.object({{QStringLiteral("token"), token}, {QStringLiteral("expires"), known(expires)}});
    return ExitCode::Ok;
}

ExitCode showOAuth2(Context& context, const Library& library, OAuth2TokenType type) {
    const QString scope = context.line.arguments().value(0);
    const OAuth2TokenSpec spec(type, scope.toStdWString().c_str());
    OAuth2Token token;
    const Progress::Wait wait(context.progress, QStringLiteral("the OAuth2 token"));
    if (!library.manager().EnableOAuth2(spec) || !library.manager().GetOAuth2AccessToken(spec, token, true) || !token.IsValid())
        return library.fail(QStringLiteral("There is no OAuth2 token of this type and scope; the log says why."));
    return show(context, QString::fromWCharArray(token.GetToken()), dateOf(library.manager().GetOAuth2TokenExpiryDate(spec)));
}

} // namespace

ExitCode runToken(Context& context) {
    const bool isOAuth2 = context.line.isSet(oauth2Option);
    const OAuth2TokenType type = isOAuth2 ? typeNamed(context.line.value(oauth2Option)) : InvalidTokenType;
    if (isOAuth2 && type == InvalidTokenType)
        return context.output.fail(ExitCode::Usage, QStringLiteral("\"--oauth2\" is RT or JWT."));
    if (!isOAuth2 && !context.line.arguments().isEmpty())
        return context.output.fail(ExitCode::Usage, QStringLiteral("A scope needs --oauth2."));
    Library library(context);
    const ExitCode opened = library.open(Library::Need::User);
    if (opened != ExitCode::Ok)
        return opened;
    if (isOAuth2)
        return showOAuth2(context, library, type);
    const QString token = library.accessToken();
    if (token.isEmpty())
        return library.fail(QStringLiteral("There is no valid access token; the log says why."));
    return show(context, token, dateOf(library.manager().GetTokenExpiryDate()));
}

} // namespace Vqws
