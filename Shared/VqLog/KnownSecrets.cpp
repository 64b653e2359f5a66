#include "VqLog/KnownSecrets.h"

#include <QCryptographicHash>
#include <QReadLocker>
#include <QReadWriteLock>
#include <QUuid>
#include <QWriteLocker>
#include <algorithm>
#include <bitset>
#include <cstring>
#include <deque>
#include <openssl/crypto.h>
#include <unordered_map>
#include <vector>

namespace Velquor::Log::KnownSecrets {

namespace {

constexpr size_t mostSecrets = 256;
constexpr int markBits = 16;
constexpr quint64 multiplier = 0x9E3779B97F4A7C15ULL;

/// A text that is wiped with its owner.
class Wiped {
public:
    explicit Wiped(QByteArray bytes)
        : m_bytes(std::move(bytes)) {}
    ~Wiped() {
        if (m_bytes.isDetached())
            OPENSSL_cleanse(m_bytes.data(), static_cast<size_t>(m_bytes.size()));
    }
    Wiped(Wiped&&) = default;
    Wiped(const Wiped&) = delete;
    Wiped& operator=(const Wiped&) = delete;

    [[nodiscard]] const QByteArray& bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

// The beginning of a form, which finds it again at little cost. It keeps a quarter of the bits.
quint16 markOf(const char* at) {
    quint64 beginning = 0;
    std::memcpy(&beginning, at, sizeof beginning);
    return static_cast<quint16>((beginning * multiplier) >> (64 - markBits));
}

QByteArray digestOf(const char* at, int size) {
    // Never destroyed: threads may log while the process ends.
    static const auto* const key = new QByteArray(QUuid::createUuid().toRfc4122());
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(*key);
    hash.addData(at, size);
    return hash.result();
}

QByteArray xmlEscaped(const QByteArray& text) {
    return QString::fromUtf8(text).toHtmlEscaped().toUtf8();
}

std::vector<Wiped> formsOf(const QByteArray& secret) {
    std::vector<Wiped> forms;
    const auto add = [&forms](QByteArray form) { forms.emplace_back(std::move(form)); };
    add(QByteArray(secret.constData(), secret.size()));
    add(secret.toPercentEncoding());
    add(secret.toPercentEncoding().replace("%2B", "%2b").replace("%2F", "%2f").replace("%3D", "%3d"));
    add(secret.toPercentEncoding().replace('%', "%25"));
    add(secret.toBase64(QByteArray::OmitTrailingEquals));
    add(secret.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    add(secret.toHex());
    add(secret.toHex().toUpper());
    const QByteArray json = QByteArray(secret).replace('\\', "\\\\").replace('"', "\\\"");
    add(json);
    add(QByteArray(json).replace('/', "\\/"));
    add(xmlEscaped(secret));
    return forms;
}

struct Form {
    int size = 0;
    QByteArray digest;
};

class Store {
public:
    static Store& instance() {
        // Never destroyed: threads may log while the process ends.
        static auto* const store = new Store;
        return *store;
    }

    void learn(const QByteArray& secret) {
        const QByteArray known = digestOf(secret.constData(), secret.size());
        {
            const QReadLocker lock(&m_lock);
            if (std::find(m_order.begin(), m_order.end(), known) != m_order.end())
                return;
        }
        const std::vector<Wiped> forms = formsOf(secret);
        const QWriteLocker lock(&m_lock);
        m_order.push_back(known);
        for (const Wiped& form : forms)
            add(known, form.bytes());
        if (m_order.size() > mostSecrets)
            forgetFirst();
    }

    // The size of the secret that begins at this place; 0 when none does.
    [[nodiscard]] int sizeAt(const char* at, int available) const {
        const quint16 mark = markOf(at);
        if (!m_marks.test(mark))
            return 0;
        int longest = 0;
        const auto [first, last] = m_forms.equal_range(mark);
        for (auto found = first; found != last; ++found) {
            const Form& form = found->second.second;
            if (form.size > longest && form.size <= available && digestOf(at, form.size) == form.digest)
                longest = form.size;
        }
        return longest;
    }

    [[nodiscard]] QReadWriteLock& lock() { return m_lock; }

private:
    void add(const QByteArray& secret, const QByteArray& form) {
        const quint16 mark = markOf(form.constData());
        m_marks.set(mark);
        m_forms.emplace(mark,
                        std::make_pair(secret, Form{static_cast<int>(form.size()), digestOf(form.constData(), form.size())}));
    }

    void forgetFirst() {
        for (auto form = m_forms.begin(); form != m_forms.end();)
            form = form->second.first == m_order.front() ? m_forms.erase(form) : std::next(form);
        m_order.pop_front();
        m_marks.reset();
        for (const auto& form : m_forms)
            m_marks.set(form.first);
    }

    QReadWriteLock m_lock;
    std::deque<QByteArray> m_order;                                        ///< The secrets, by their digests.
    std::unordered_multimap<quint16, std::pair<QByteArray, Form>> m_forms; ///< By mark, with the secret's digest.
    std::bitset<1 << markBits> m_marks;
};

} // namespace

void learn(const QByteArray& secret) {
    if (secret.size() >= leastSize)
        Store::instance().learn(secret);
}

QString hidden(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    const int last = bytes.size() - leastSize;
    QByteArray shown;
    int from = 0;
    Store& store = Store::instance();
    const QReadLocker lock(&store.lock());
    for (int at = 0; at <= last;) {
        const int size = store.sizeAt(bytes.constData() + at, bytes.size() - at);
        if (size > 0) {
            shown.append(bytes.constData() + from, at - from).append("***");
            from = at + size;
        }
        at += qMax(size, 1);
    }
    return from == 0 ? text : QString::fromUtf8(shown.append(bytes.constData() + from, bytes.size() - from));
}

} // namespace Velquor::Log::KnownSecrets
