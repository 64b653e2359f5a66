#pragma once

#include "ClientKeys.h"
#include "Commands/Commands.h"

#include <QObject>
#include <QString>
#include <VqWebServices/WebServicesManager.h>

namespace Vqws {

/// Reads the options for the keys and the certificate authority, which this process trusts from then on. Errors: the exit status,
/// after the reason was printed. Thread: the main thread, once.
[[nodiscard]] ExitCode readKeysAndTrust(const Context& context, bool needsProduct, ClientKeys& keys);

/// The library for the duration of a command. Cancellation shuts the library down at once. That ends every wait in it, and each
/// later call fails.
///
/// Thread: the main thread. Owner: the command. Errors: the exit status, after the reason was printed.
class Library : public QObject {
    Q_OBJECT

public:
    explicit Library(Context& context);
    ~Library() override;

    enum class Need { Nothing, Product, User };

    /// start() and then signOn().
    [[nodiscard]] ExitCode open(Need need);
    /// Reads the options and initializes the library.
    [[nodiscard]] ExitCode start(Need need);
    /// Registers the product and restores the login; does nothing without the keys of a product.
    [[nodiscard]] ExitCode signOn(Need need);

    [[nodiscard]] Velquor::WebServices::WebServicesManager& manager() const { return *m_manager; }
    [[nodiscard]] bool hasProduct() const { return m_keys.isGiven(); }
    [[nodiscard]] const ClientKeys& keys() const { return m_keys; }
    [[nodiscard]] const QString& productKey() const { return m_keys.key; }
    [[nodiscard]] QString userName() const;
    [[nodiscard]] QString userId() const;

    // Both wait for the token when the product does not have it yet.

    /// Empty when there is no valid token.
    [[nodiscard]] QString accessToken() const;
    /// Empty when signing failed.
    [[nodiscard]] QString signedRequest(const QString& url, Velquor::WebServices::HttpMethod method,
                                        Velquor::WebServices::ParsingMode mode) const;

    /// Prints that the command was cancelled, or else why it failed.
    [[nodiscard]] ExitCode fail(const QString& text) const;

private:
    [[nodiscard]] ExitCode readOptions(Need need);
    [[nodiscard]] ExitCode checkServer(Need need) const;
    [[nodiscard]] bool registerProduct() const;
    void close();

    Context& m_context;
    ClientKeys m_keys;
    Velquor::WebServices::WebServicesManager* m_manager = nullptr;
    bool m_isOpen = false;
};

} // namespace Vqws
