#include "CommandTable.h"

#include "Commands/Commands.h"

#include <QMap>
#include <algorithm>

namespace Vqws {

namespace {

OptionInfo option(const char* name, const char* valueName, const char* text) {
    return {QString::fromLatin1(name), QString::fromLatin1(valueName), QString::fromLatin1(text)};
}

CommandInfo command(const char* name, ExitCode (*run)(Context&), const char* summary, const char* details) {
    CommandInfo info;
    info.name = QString::fromLatin1(name);
    info.summary = QString::fromLatin1(summary);
    info.details = QString::fromLatin1(details);
    info.run = run;
    return info;
}

CommandInfo with(CommandInfo info, const char* arguments, int least, int most, QVector<OptionInfo> options = {}) {
    info.arguments = QString::fromLatin1(arguments);
    info.leastArguments = least;
    info.mostArguments = most;
    info.options = std::move(options);
    return info;
}

QVector<CommandInfo> sessionCommands() {
    return {
        command(
            "status", &runStatus, "Show the signed-in user, the products and the paths of the files.",
            "Without a consumer key it shows what every product sees: the user, the server and the files. With key and secret it "
            "also shows the tokens of that product. Exit status 3 when nobody is signed in."),
        with(
            command(
                "login", &runLogin, "Sign in through the browser.",
                "Opens the sign-in page in the browser and waits until the user has signed in there, or in another program. Does "
                "nothing when a user is already signed in. With --server it changes the server first, which signs the user out "
                "of the other server. Without --timeout it waits for 300 seconds."),
            "", 0, 0, {option("no-browser", "", "Print the address of the sign-in page instead of opening it.")}),
        command(
            "logout", &runLogout, "Sign the user out, in every program.",
            "Ends the session at the service and removes the user from this machine, for all products. Exit status 3 when nobody "
            "is signed in."),
        with(command(
                 "watch", &runWatch, "Print the events as they happen.",
                 "Prints one line for each event, with its time, its origin and its product; with --json one object a line. The "
                 "origin \"vqws\" means that this program caused the event itself, \"outside\" means another program or a timer "
                 "of the library. Ends with Ctrl-C or after --timeout, both with exit status 0."),
             "", 0, 0),
    };
}

QVector<CommandInfo> requestCommands() {
    return {
        with(command("sign", &runSign, "Sign a request and print it.",
                     "Prints the address with its signature in the query. The signature is valid for one request within the next "
                     "few minutes."),
             "URL", 1, 1,
             {option("header", "", "Print the value of the header \"Authorization\" instead."),
              option("method", "METHOD", "The method of the request (default GET).")}),
        with(
            command(
                "token", &runToken, "Print the access token.",
                "Prints the OAuth 1.0 access token, or with --oauth2 the OAuth2 token of that type and scope. This is the only command "
                "that prints a token. Anyone who has an OAuth2 token can use it. Keep it out of logs, mails and pictures of the "
                "screen."),
            "[SCOPE]", 0, 1, {option("oauth2", "TYPE", "An OAuth2 token: RT or JWT; SCOPE is its scope (default none).")}),
        with(
            command(
                "get", &runGet, "Send a signed request and show the reply.",
                "Sends a GET with a signed header \"Authorization\" and writes the unchanged body of the reply to standard output. "
                "The status goes to standard error. Does not follow redirections. Exit status 1 when the status is not 200 to 299."),
            "URL", 1, 1),
        command(
            "doctor", &runDoctor, "Check the set-up and show how to repair it.",
            "Prints one line for each check: ok, warning or fault, with the cure, whose command has a line of its own. Needs neither "
            "a key nor a signed-in user, and signs nobody out. With key and secret it also asks the account server whether it "
            "accepts the product, and finds a login that was copied from another user or machine. Exit status 1 when there is a "
            "fault."),
        with(
            command(
                "check-server", &runCheckServer, "Check what an account server speaks, for those who run it.",
                "Goes through every exchange of the library with the server of the URL file: sign-in with a test account, signatures "
                "right and wrong, refresh, documents, OAuth2, time, sign-out. Prints one line for each thing that the page \"What an "
                "account server must speak\" asks for. Needs key and secret of a product. Does not touch the login of this user, "
                "and signs the test account out again. Without a URL file it takes the one of the products. Exit status 1 when "
                "there is a fault. Without --timeout it waits for 300 seconds."),
            "[URL-FILE]", 0, 1,
            {option("no-browser", "", "Print the address of the sign-in page instead of opening it."),
             option("browser-command", "COMMAND",
                    "Run this command with the address of the sign-in page as its last argument. The test account has signed in "
                    "when it ends.")}),
        command("dump", &runDump, "Show the state of the login session and of the processes.",
                "The text is for a report to support. It never contains secrets. It contains names of the user, of programs and "
                "of folders."),
        with(
            command(
                "report", &runReport, "Write all that support needs into a file.",
                "Writes one text file for a ticket: versions, the checks of \"doctor\", \"status\", \"dump\", and the end of the "
                "log. It lists the parts before. Secrets are in none of them; names of the user, of programs and of folders "
                "are. It never replaces a file."),
            "FILE", 1, 1),
    };
}

QStringList keysOf(const QString& command) {
    static const QMap<QString, const char*> keys{
        {QStringLiteral("status"),
         "signedIn valid user userId loginExpires server accountServer storedProxy loginStateFile logFile logConfiguration "
         "accessToken oauth2Enabled oauth2Token products"},
        {QStringLiteral("login"), "user userId"},
        {QStringLiteral("logout"), "user"},
        {QStringLiteral("watch"), "time event origin product detail"},
        {QStringLiteral("sign"), "url authorization"},
        {QStringLiteral("token"), "token expires"},
        {QStringLiteral("get"), "status reason contentType body bodyBase64"},
        {QStringLiteral("doctor"), "faults warnings checks"},
        {QStringLiteral("check-server"), "faults warnings notChecked leftSignedIn checks"},
        {QStringLiteral("dump"), "LoginSession Version CurrentServer SignedInAs Files UrlOverrides ProcessState"},
        {QStringLiteral("report"), "file bytes parts"},
    };
    return QString::fromLatin1(keys.value(command)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QVector<CommandInfo> withKeys(QVector<CommandInfo> commands) {
    for (CommandInfo& command : commands)
        command.keys = keysOf(command.name);
    return commands;
}

} // namespace

const QVector<CommandInfo>& commandTable() {
    static const QVector<CommandInfo> table = withKeys(sessionCommands() + requestCommands());
    return table;
}

const QVector<OptionInfo>& commonOptions() {
    static const QVector<OptionInfo> options{
        option("key", "KEY", "Consumer key of the product (default: VQWS_CONSUMER_KEY)."),
        option("secret-file", "FILE",
               "File whose first line is the consumer secret (default: VQWS_CONSUMER_SECRET holds the secret)."),
        option("oauth2-key", "KEY", "OAuth2 key of the product (default: VQWS_OAUTH2_KEY, else the consumer key)."),
        option("oauth2-secret-file", "FILE",
               "File whose first line is the OAuth2 secret (default: VQWS_OAUTH2_SECRET holds it, else the consumer secret)."),
        option("server", "NAME", "production, staging or development (default: the current server)."),
        option("support", "FOLDERS",
               "Folders of the URL files and of the log configuration, separated by \";\" (default: VQWS_SUPPORT)."),
        option("ca", "FILE", "Certificate authority, as PEM, to trust in addition to the system's (default: VQWS_CA)."),
        option("json", "", "Write one JSON object (watch: one for each event) to standard output."),
        option("quiet", "", "Write no progress and no notes to standard error."),
        option("timeout", "SECONDS", "Stop waiting after this time."),
        option("help", "", "Show help, for the tool or for a command."),
        option("version", "", "Show the version."),
    };
    return options;
}

const CommandInfo* findCommand(const QString& name) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(), [&](const CommandInfo& info) { return info.name == name; });
    return found == table.end() ? nullptr : &*found;
}

} // namespace Vqws
