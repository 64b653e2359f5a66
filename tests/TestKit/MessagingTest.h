#pragma once

#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Messaging/IPCManager.h"

namespace Velquor::TestKit {

/// What tests of the messages between processes share: managers of one process that hear each other.
///
/// Thread: the test's. Owner: the test, which derives from it.
class MessagingTest : public QObject {
protected:
    static constexpr int patienceMs = 10000;

    /// A manager and what it has heard.
    struct Party {
        explicit Party(const QString& name, const QString& folder) {
            QObject::connect(&manager, &Util::IPCManager::MessageReceived, &manager,
                             [this](const QString& name, const QVariantMap& params) {
                                 heard.append({name, params});
                             });
            isStarted = manager.start(name, folder);
        }

        [[nodiscard]] QVector<int> numbers() const {
            QVector<int> found;
            for (const auto& one : heard) {
                if (one.first == QLatin1String("Numbered"))
                    found += one.second.value("Number").toInt();
            }
            return found;
        }

        std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
        QVector<QPair<QString, QVariantMap>> heard;
        bool isStarted = false;
        Util::IPCManager manager{logger};
    };

    MessagingTest() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path())); }

    /// Starts without any manager.
    void startOver() {
        m_parties.clear();
        m_name = QStringLiteral("Vq") + QUuid::createUuid().toString(QUuid::Id128);
    }

    void add() { m_parties.push_back(std::make_unique<Party>(m_name, m_folder.path())); }

    [[nodiscard]] Party& at(int index) { return *m_parties.at(static_cast<size_t>(index)); }

    /// `count` managers that hear each other, of which the first one serves.
    [[nodiscard]] bool meet(int count) {
        while (static_cast<int>(m_parties.size()) < count) {
            add();
            if (!m_parties.back()->isStarted || !QTest::qWaitFor([this] { return at(0).manager.isServing(); }, patienceMs))
                return false;
        }
        return worksOn();
    }

    /// Probes until all others have heard one, since a newcomer hears what is sent once it is there.
    [[nodiscard]] bool worksOn() {
        const QVariantMap probe{{"Probe", ++m_probe}};
        const QPair<QString, QVariantMap> expected("Probe", probe);
        const auto hasHeard = [&expected](const std::unique_ptr<Party>& party) { return party->heard.contains(expected); };
        for (int attempt = 0; attempt < patienceMs / 20; ++attempt) {
            if (!at(0).manager.send(expected.first, probe))
                return false;
            if (QTest::qWaitFor([&] { return std::all_of(m_parties.begin() + 1, m_parties.end(), hasHeard); }, 20)) {
                QTest::qWait(20);
                for (const auto& party : m_parties)
                    party->heard.clear();
                return true;
            }
        }
        return false;
    }

    QTemporaryDir m_folder;
    QString m_name;
    std::vector<std::unique_ptr<Party>> m_parties;
    int m_probe = 0;
};

} // namespace Velquor::TestKit
