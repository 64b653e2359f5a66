#pragma once

#include "Session/State/LoginState.h"
#include "Session/State/StoredProxy.h"
#include "VqUtil/Xml/XmlText.h"

#include <QByteArray>
#include <optional>
#include <utility>

namespace Velquor::WebServices::Internal {

/// The text of the login state file. The only class that knows its elements.
///
/// Values are attributes; secrets are the CDATA text of an element; dates are in UTC, ISO 8601. What a change does not concern
/// stays to the letter: elements and attributes that this version does not know, and the products of other programs. A value.
/// Thread: that of its owner. Errors: a reason instead of a document; a value that cannot be understood reads as absent.
class LoginStateDocument {
public:
    /// The bounds of the file, which hold more than 1,000 products. A text outside of them is neither read nor written.
    static constexpr Util::XmlLimits limits{2LL * 1024 * 1024};

    /// A new document, which is known by this text among all documents of the user.
    explicit LoginStateDocument(const QString& created = {});
    [[nodiscard]] static Util::Result<LoginStateDocument> parse(const QByteArray& text);

    /// The text, or why no process could read it.
    [[nodiscard]] Util::Result<QByteArray> toBytes() const;

    [[nodiscard]] LoginState state() const;
    /// Writes what differs from the present state. The user and the products of a sign-in of another user or server go.
    void setState(const LoginState& state);
    /// Who saves: this version of the library, and the name of this program.
    void setSavedBy(const QString& program);
    void setSavedByVersion();

    [[nodiscard]] bool hasProxy() const;
    [[nodiscard]] std::optional<StoredProxy> proxy() const;
    void setProxy(const StoredProxy& proxy);
    void removeProxy();

private:
    explicit LoginStateDocument(Util::XmlText text)
        : m_text(std::move(text)) {}
    void writeSettings(const LoginState& state);
    void writeSignIn(const LoginState& state);

    Util::XmlText m_text;
};

} // namespace Velquor::WebServices::Internal
