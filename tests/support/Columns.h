#pragma once

// A data-driven test's columns in one statement each way:
//
//   void counts_data() { testdata::columns<int, QString>("count", "name"); ... }
//   void counts() { const auto [count, name] = testdata::fetch<int, QString>(); ... }
//
// columns() remembers the names for its test function, and fetch() takes
// the row's values in that order; the types are checked against the
// columns' when fetched. A lambda takes such a value by init-capture
// ([name = name]): clang before 16 cannot capture a structured binding.
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QTest>

#include <tuple>
#include <utility>

namespace testdata {

inline QHash<QByteArray, QList<const char *>> &namesByFunction()
{
    static QHash<QByteArray, QList<const char *>> names;
    return names;
}

template <typename... T, typename... Names>
void columns(Names... names)
{
    static_assert(sizeof...(T) == sizeof...(Names), "a type for every column");
    (QTest::addColumn<T>(names), ...);
    namesByFunction().insert(QTest::currentTestFunction(), {names...});
}

template <typename... T, std::size_t... I>
std::tuple<T...> fetchAt(const QList<const char *> &names, std::index_sequence<I...>)
{
    return std::tuple<T...>{*static_cast<T *>(QTest::qData(names.at(I), qMetaTypeId<T>()))...};
}

template <typename... T>
std::tuple<T...> fetch()
{
    const QList<const char *> names = namesByFunction().value(QTest::currentTestFunction());
    if (names.size() != qsizetype(sizeof...(T)))
        qFatal("fetch() does not match the columns of %s", QTest::currentTestFunction());
    return fetchAt<T...>(names, std::index_sequence_for<T...>{});
}

} // namespace testdata
