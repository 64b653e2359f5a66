#include "Session/Operations/ProductStateLoader.h"

#include "Session/Store/LoginStateReader.h"

namespace Velquor::WebServices::Internal {

ProductStateLoader::ProductStateLoader(LockedState& state)
    : m_state(state)
    , m_logger(*state->services().loggers.session) {}

bool ProductStateLoader::loadProduct(const QString& clientKey) {
    const QString path = m_state.file().path();
    const QString name = m_state->clients().displayName(clientKey);
    m_logger.information(QStringLiteral("Loading login state of product %1 from file %2").arg(name, path));
    if (!m_state.file().exists()) {
        m_logger.information(QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(path));
        return false;
    }
    const LoginStateFile::Content content = m_state.file().readAtStart();
    const std::optional<LoginState> file =
        content.isRead() ? LoginStateReader(m_state).findOwnSignIn(*content.document) : std::nullopt;
    const StoredProduct* const product = file ? file->product(m_state->productKey(clientKey)) : nullptr;
    const Server server = m_state->currentServer();
    const ProductSessionPointer session =
        product ? m_state.products().getOrCreate(product->productKey, server, clientKey) : ProductSessionPointer();
    if (session) {
        session->Load(*product);
        m_logger.information(QStringLiteral("Loaded login state of product %1 from login state file %2").arg(name, path));
    } else if (product) {
        m_logger.error(QStringLiteral("Failed to get or create product login session for product %1 and %2 server")
                           .arg(name, serverName(server)));
    } else {
        m_logger.information(
            QStringLiteral(
                "Failed to load login state of product %1 from login state file %2. Login state not found for this product.")
                .arg(name, path));
    }
    m_logger.information(QStringLiteral("Finished loading login state of product %1 from file %2").arg(name, path));
    return session != nullptr;
}

bool ProductStateLoader::SetInfor1(const QString& productKey) {
    const QString path = m_state.file().path();
    if (!m_state.file().exists()) {
        m_logger.information(
            QStringLiteral("Can't load login state1 from file %1. File not found from the default path. SetInfor1.").arg(path));
        return false;
    }
    const LoginStateFile::Content content = m_state.file().readAtStart();
    if (!content.isRead()) {
        m_logger.error(QStringLiteral("Failed to read SetInfor1 from file %1. %2.").arg(path, content.error));
        return false;
    }
    const std::optional<LoginState> file = LoginStateReader(m_state).findOwnSignIn(*content.document);
    if (!file) {
        m_logger.error(QStringLiteral("fail to SetInfor1 find LoginSession from file %1").arg(path));
        return false;
    }
    for (const StoredProduct& product : file->products) {
        if (product.productKey.isEmpty())
            m_logger.warning(QStringLiteral("Invalid product node without product key found and ignored.SetInfor1."));
        if (product.productKey.isEmpty() || product.productKey != productKey)
            continue;
        const Server server = m_state->currentServer();
        const QString clientKey = m_state->clients().clientsOf(productKey, server).value(0);
        const ProductSessionPointer session = m_state.products().getOrCreate(productKey, server, clientKey);
        if (!session) {
            m_logger.error(
                QStringLiteral(
                    "Failed to load product node for product %1. Failed to get or create product login session.SetInfor1.")
                    .arg(product.fullName()));
            return false;
        }
        session->Load(product);
        m_logger.information(QStringLiteral("SetInfor1 from file %1").arg(path));
        return true;
    }
    return false;
}

} // namespace Velquor::WebServices::Internal
