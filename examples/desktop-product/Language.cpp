#include "Language.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace {

QString folderOfQt() {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QLibraryInfo::location(QLibraryInfo::TranslationsPath);
#else
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
#endif
}

void install(const QLocale& locale, const QString& name, const QString& folder) {
    auto* const translator = new QTranslator(qApp);
    if (translator->load(locale, name, QStringLiteral("_"), folder))
        QCoreApplication::installTranslator(translator);
}

} // namespace

void applyLanguage(const QString& name) {
    if (!name.isEmpty())
        QLocale::setDefault(QLocale(name));
    const QLocale locale;
    // Qt's own texts, such as the menu of a text field. They mirror the window for a language that runs from right to left.
    install(locale, QStringLiteral("qtbase"), folderOfQt());
    install(locale, QStringLiteral("desktop"), QStringLiteral(":/translations"));
}
