#include "Session/Operations/ProductStateLoader.h"

#include "Session/Operations/ProductConfigurator.h"
#include "Session/State/LoginStateElements.h"
#include "Session/Store/LoginStateLoader.h"

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

namespace {

QDomElement firstProduct(const QDomElement& login) {
    return login.firstChildElement(Names::products).firstChildElement(Names::product);
}

} // namespace

ProductStateLoader::ProductStateLoader(SessionState& state)
    : m_state(state)
    , m_logger(*state.services.loggers.session) {}

LoginStateFile::Content ProductStateLoader::read() {
    const LoginStateFile::Guard guard(m_state.file);
    return guard.isHeld() ? m_state.file.read() : LoginStateFile::Content();
}

bool ProductStateLoader::loadProduct(const QString& clientKey) {
    const QString path = m_state.file.path();
    const QString name = m_state.clients.displayName(clientKey);
    m_logger.information(QStringLiteral("Loading login state of product %1 from file %2").arg(name, path));
    if (!m_state.file.exists()) {
        m_logger.information(QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(path));
        return false;
    }
    const LoginStateFile::Content content = read();
    const QDomElement login = content.isRead() ? LoginStateLoader(m_state).findOwnLogin(content.root()) : QDomElement();
    const QDomElement product = findProduct(login, m_state.productKey(clientKey));
    const ProductSessionPointer session =
        product.isNull() ? ProductSessionPointer() : ProductConfigurator(m_state).configure(clientKey);
    if (session) {
        session->Load(product);
        m_logger.information(QStringLiteral("Loaded login state of product %1 from login state file %2").arg(name, path));
    } else if (!product.isNull()) {
        m_logger.error(QStringLiteral("Failed to get or create product login session for product %1 and %2 server")
                           .arg(name, serverName(m_state.currentServer())));
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
    const QString path = m_state.file.path();
    if (!m_state.file.exists()) {
        m_logger.information(
            QStringLiteral("Can't load login state1 from file %1. File not found from the default path. SetInfor1.").arg(path));
        return false;
    }
    const LoginStateFile::Content content = read();
    if (!content.isRead()) {
        m_logger.error(QStringLiteral("Failed to read SetInfor1 from file %1. %2.").arg(path, content.error));
        return false;
    }
    const QDomElement login = LoginStateLoader(m_state).findOwnLogin(content.root());
    if (login.isNull()) {
        m_logger.error(QStringLiteral("fail to SetInfor1 find LoginSession from file %1").arg(path));
        return false;
    }
    for (QDomElement node = firstProduct(login); !node.isNull(); node = node.nextSiblingElement(Names::product)) {
        const QString key = node.attribute(Names::productKey);
        if (key.isEmpty())
            m_logger.warning(QStringLiteral("Invalid product node without product key found and ignored.SetInfor1."));
        if (key.isEmpty() || key != productKey)
            continue;
        const ProductSessionPointer session = m_state.products.getOrCreate(key, m_state.currentServer());
        if (!session) {
            m_logger.error(
                QStringLiteral(
                    "Failed to load product node for product %1. Failed to get or create product login session.SetInfor1.")
                    .arg(QStringLiteral("%1.%2").arg(node.attribute(QStringLiteral("Name")),
                                                     node.attribute(QStringLiteral("ExeName")))));
            return false;
        }
        session->Load(node);
        m_logger.information(QStringLiteral("SetInfor1 from file %1").arg(path));
        return true;
    }
    return false;
}

} // namespace Velquor::WebServices::Internal
