#include "FileNames.h"

#include "Product.h"

namespace tavo {

namespace {

bool isSeparator(QChar c)
{
#ifdef Q_OS_WIN
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
#else
    return c == QLatin1Char('/');
#endif
}

} // namespace

QString fileTitle(const QString &path)
{
    qsizetype start = 1; // no separator: the first character goes too
    for (qsizetype i = path.size() - 1; i >= 0; --i) {
        if (isSeparator(path.at(i))) {
            start = i + 1;
            break;
        }
    }
    const QString name = path.mid(start);
    return name.size() >= 4 ? name.chopped(4) : QString();
}

QString windowCaption(const QString &currentFileName)
{
    return currentFileName.isEmpty() ? productCaption() : fileTitle(currentFileName);
}

QString configFileFromArguments(const QStringList &positional)
{
    QString text = positional.join(QLatin1Char(' '));
    if (text.startsWith(QLatin1Char('"')))
        text.remove(0, 1);
    if (text.endsWith(QLatin1Char('"')))
        text.chop(1);
    return text;
}

} // namespace tavo
