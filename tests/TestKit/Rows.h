#pragma once

#include <QtTest>
#include <utility>

namespace Velquor::TestKit {

/// A table whose rows are judged where they stand: called with a name and the values of a row, it calls the judge with the
/// values. The other rows are judged too when one fails, and the log names that one. VQ_TEST_ROW selects a row by its name. With
/// a test each row has its own `init()` and `cleanup()`, as rows of a "_data" function have. Thread: the test's. Owner: the test
/// function.
template <typename Judge, typename Operator = decltype(&Judge::operator())>
class Rows;

template <typename Judge>
Rows(Judge) -> Rows<Judge>;
template <typename Judge>
Rows(QObject*, Judge) -> Rows<Judge>;

template <typename Judge, typename... Types>
class Rows<Judge, void (Judge::*)(Types...) const> {
public:
    explicit Rows(Judge judge)
        : m_judge(std::move(judge)) {}
    Rows(QObject* test, Judge judge)
        : m_judge(std::move(judge))
        , m_test(test) {}

    void operator()(const QByteArray& name, Types... values) const {
        const QByteArray selected = qgetenv("VQ_TEST_ROW");
        if (!selected.isEmpty() && selected != name)
            return;
        const bool hadFailed = QTest::currentTestFailed();
        if (m_test && m_hasBegun) {
            run("cleanup()");
            run("init()");
        }
        m_hasBegun = true;
        m_judge(std::forward<Types>(values)...);
        if (!hadFailed && QTest::currentTestFailed())
            qWarning("In the row \"%s\"", name.constData());
    }

private:
    void run(const char* slot) const {
        const int index = m_test->metaObject()->indexOfMethod(slot);
        if (index >= 0)
            m_test->metaObject()->method(index).invoke(m_test, Qt::DirectConnection);
    }

    const Judge m_judge;
    QObject* const m_test = nullptr;
    mutable bool m_hasBegun = false;
};

} // namespace Velquor::TestKit
