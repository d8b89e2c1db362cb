#include "FileDialog.h"

#include <QFileDialog>

QString FileDialog::qtFilter(const QString &filter)
{
    // Pairs of "description|pattern"; the pattern may carry blanks.
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList out;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString description = parts.at(i).trimmed();
        const int paren = description.indexOf(QLatin1Char('('));
        if (paren > 0)
            description = description.left(paren).trimmed();
        QStringList patterns;
        const QStringList given = parts.at(i + 1).split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (const QString &p : given) {
            const QString pattern = p.trimmed();
            patterns << pattern;
            if (pattern.toLower() != pattern)
                patterns << pattern.toLower();
            if (pattern.toUpper() != pattern)
                patterns << pattern.toUpper();
        }
        out << QStringLiteral("%1 (%2)").arg(description, patterns.join(QLatin1Char(' ')));
    }
    return out.join(QStringLiteral(";;"));
}

void FileDialog::showOpen()
{
    show(false);
}
void FileDialog::showSave()
{
    show(true);
}

void FileDialog::show(bool save)
{
    QFileDialog dialog(m_parent);
    dialog.setNameFilter(qtFilter(Filter()));
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile
                            : ((Flags() & FileMustExist) ? QFileDialog::ExistingFile : QFileDialog::AnyFile));
    if (!(Flags() & OverwritePrompt))
        dialog.setOption(QFileDialog::DontConfirmOverwrite);
    if (!FileName().isEmpty())
        dialog.selectFile(FileName());
    if (save) {
        // Suggest the filter's extension when the user types a bare name.
        const QString pattern = Filter().section(QLatin1Char('|'), 1, 1).trimmed();
        if (pattern.startsWith(QLatin1String("*.")))
            dialog.setDefaultSuffix(pattern.mid(2));
    }
    const bool accepted = dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty();
    SetFileName(accepted ? dialog.selectedFiles().constFirst() : QString());
}
