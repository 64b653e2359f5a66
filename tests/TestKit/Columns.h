#pragma once

#include <QtTest>
#include <type_traits>

namespace Velquor::TestKit {

/// The columns of a data table. Called with a name and a value for each column, it adds a row; an enumeration without a meta type
/// is kept as its number. Thread: the test's. Owner: the "_data" function.
template <typename... Types>
class Columns {
public:
    template <typename... Names>
    explicit Columns(Names... names) {
        static_assert(sizeof...(Names) == sizeof...(Types), "each column has one type and one name");
        (QTest::addColumn<Stored<Types>>(names), ...);
    }

    void operator()(const char* name, const Types&... values) const {
        QTestData& row = QTest::newRow(name);
        (void)(row << ... << static_cast<Stored<Types>>(values));
    }

private:
    template <typename Type>
    using Stored = std::conditional_t<std::is_enum_v<Type> && !QMetaTypeId2<Type>::Defined, int, Type>;
};

} // namespace Velquor::TestKit
