#pragma once

#include "Events/SystemEventCarriers.h"
#include "Network/ICancelController.h"
#include "Session/State/IStateFile.h"
#include "Tokens/TokenDependencies.h"

#include <QUuid>
#include <functional>
#include <memory>

namespace Velquor::Util {
class ProcessState;
}

namespace Velquor::WebServices::Internal {

/// What the login session and the classes that work on it need from lower layers. A plain value.
struct SessionDependencies : TokenDependencies {
    /// The block size of the cryptor's RSA key in bytes, which bounds the texts that are encrypted as one block.
    int cipherBlockSize = 0;
    /// The longest text that is encrypted as one block: what PKCS #1 v1.5 padding would leave, whatever padding is used.
    [[nodiscard]] int maximumBlockText() const { return cipherBlockSize - 11; }
    int exchangeTimeoutMs = 60000; ///< The limit of one exchange of a sign-in or sign-out with the account server.
    /// Ends the exchanges of a sign-in or sign-out when the session is stopped. Set by the login session.
    std::shared_ptr<ICancelController> exchangeCancel;
    QString loginStateFile;
    /// Where the text of that file is kept. Null: on the disk.
    std::shared_ptr<IStateFile> stateFile;
    /// This process is the single-sign-on server: it is no product itself, and its clients belong to other processes.
    bool isSSOServer = false;
    bool isForAllUsers = false; ///< The file is in the folder of all users of the machine.
    QString savedBy;            ///< The name of this program, for "LastSavedBy".
    /// The shared flags by which the user's processes coordinate token requests. Null: this process works as if it were alone.
    std::shared_ptr<Util::ProcessState> processState;
    /// Carry the events between the user's processes.
    std::shared_ptr<IEventCarriers> carriers = std::make_shared<SystemEventCarriers>();
    /// A new name for this process as a sender of events, at each start of their exchange.
    std::function<QString()> makeSenderId = [] { return QUuid::createUuid().toString(QUuid::WithoutBraces); };
    /// Exchange events with the user's other processes.
    bool notifiesProcesses = false;
};

} // namespace Velquor::WebServices::Internal
