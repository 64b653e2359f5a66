#pragma once

#include <QJsonObject>
#include <QPair>
#include <QRandomGenerator>
#include <QVector>
#include <functional>

namespace Velquor::TestKit {

/// A request as a host gives it to a signer. Texts are UTF-8, the URL is encoded, and the host sends it as it is here.
struct RandomRequest {
    enum Form { Query, Header, FormBody };

    QByteArray method;
    QByteArray url;
    QVector<QPair<QByteArray, QByteArray>> parameters;
    QByteArray consumerKey;
    QByteArray consumerSecret;
    QByteArray token; ///< Empty: none.
    QByteArray tokenSecret;
    Form form = Query;
};

/// The text of UTF-8, with the byte order mark that QString::fromUtf8 would drop at its beginning.
[[nodiscard]] inline QString decoded(const QByteArray& text) {
    return (text.startsWith("\xef\xbb\xbf") ? QStringLiteral("\ufeff") : QString()) + QString::fromUtf8(text);
}

/// Makes requests out of everything that makes signing hard, has them signed, and has the result judged by another
/// implementation. Thread: one. Owner: the test.
class RandomRequests {
public:
    /// Gives the parameters of a signed request in its form, "OAuth " excluded, and may set the keys that it signs with.
    using Signer = std::function<QByteArray(RandomRequest&)>;

    /// The seed is `VQ_TEST_SEED`, or by chance.
    explicit RandomRequests(Signer signer);

    /// What the other implementation says about 10,000 requests; empty when it cannot run here.
    [[nodiscard]] QByteArray judged();

private:
    [[nodiscard]] QJsonObject next();
    [[nodiscard]] int below(int limit) { return static_cast<int>(m_random.bounded(limit)); }
    [[nodiscard]] QByteArray text(int longest);
    [[nodiscard]] QByteArray escaped(char letter);
    [[nodiscard]] QByteArray wireText(const QByteArray& decoded);
    [[nodiscard]] QByteArray pathText(const QByteArray& decoded);
    [[nodiscard]] QByteArray url();
    [[nodiscard]] QVector<QPair<QByteArray, QByteArray>> parameters(int most);

    const Signer m_signer;
    QRandomGenerator m_random;
};

} // namespace Velquor::TestKit
