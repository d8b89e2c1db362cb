#pragma once

#include "editor/ByteDisplay.h"
#include "editor/EditorModel.h"
#include "message/SerialEditorData.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <stdexcept>

namespace editortest {

// A message written as "72a 105a 13c 5d 10h 5b 63i": value, then the type
// letter (ASCII, Decimal, Hexadecimal, Binary, Control, Ignore, or a digit).
inline SerialEditorData msg(const QString &spec, bool canDoIgnore = false)
{
    SerialEditorData m;
    const QStringList bytes = spec.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    int i = 0;
    for (const QString &b : bytes) {
        const QChar t = b.back();
        const QString types = QStringLiteral("adhbc5i");
        int type = static_cast<int>(types.indexOf(t));
        if (type < 0)
            type = t.digitValue();
        m.SetByteValue(i, static_cast<std::int16_t>(b.chopped(1).toInt()));
        m.SetByteType(i, static_cast<std::int16_t>(type));
        ++i;
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(i));
    m.SetCanDoIgnore(canDoIgnore);
    return m;
}

inline QString text(const SerialEditorData &m)
{
    return ByteDisplay::messageText(m);
}

struct KeyStroke {
    int key = 0;
    Qt::KeyboardModifiers modifiers;
    QString text;
};

// A key script: "{C-D}12{Right}{S-Left}ab". Text outside braces is typed
// character by character; inside braces, optional "C-" (Ctrl) and "S-"
// (Shift) prefixes and a key name or letter.
inline QList<KeyStroke> parseKeys(const QString &script)
{
    static const QList<std::pair<QString, int>> names = {
        {QStringLiteral("Left"), Qt::Key_Left},     {QStringLiteral("Right"), Qt::Key_Right},
        {QStringLiteral("Up"), Qt::Key_Up},         {QStringLiteral("Down"), Qt::Key_Down},
        {QStringLiteral("Home"), Qt::Key_Home},     {QStringLiteral("End"), Qt::Key_End},
        {QStringLiteral("Delete"), Qt::Key_Delete}, {QStringLiteral("Backspace"), Qt::Key_Backspace},
        {QStringLiteral("Insert"), Qt::Key_Insert}, {QStringLiteral("Escape"), Qt::Key_Escape},
        {QStringLiteral("Enter"), Qt::Key_Return},  {QStringLiteral("Tab"), Qt::Key_Tab},
        {QStringLiteral("PageUp"), Qt::Key_PageUp}, {QStringLiteral("PageDown"), Qt::Key_PageDown},
    };
    QList<KeyStroke> strokes;
    for (qsizetype i = 0; i < script.size(); ++i) {
        const QChar c = script.at(i);
        if (c != QLatin1Char('{')) {
            strokes.append({QChar(c.toUpper()).unicode(), Qt::NoModifier, QString(c)});
            continue;
        }
        const qsizetype close = script.indexOf(QLatin1Char('}'), i);
        QString name = script.mid(i + 1, close - i - 1);
        i = close;
        KeyStroke k;
        while (name.size() > 2 && name.at(1) == QLatin1Char('-')) {
            k.modifiers |= name.at(0) == QLatin1Char('C') ? Qt::ControlModifier : Qt::ShiftModifier;
            name = name.mid(2);
        }
        if (name.size() == 1) {
            k.key = name.at(0).toUpper().unicode();
            k.text = name.toLower();
        } else {
            for (const auto &[n, key] : names) {
                if (n == name)
                    k.key = key;
            }
            if (k.key == 0)
                throw std::invalid_argument("unknown key in test script");
            if (k.key == Qt::Key_Backspace)
                k.text = QStringLiteral("\b");
            else if (k.key == Qt::Key_Escape)
                k.text = QStringLiteral("\x1b");
            else if (k.key == Qt::Key_Return)
                k.text = QStringLiteral("\r");
        }
        strokes.append(k);
    }
    return strokes;
}

// Feeds a script to the model the way the widget does: key-down for every
// stroke, key-press for its printable text unless Ctrl is held.
inline void runKeys(EditorModel &model, const QString &script)
{
    for (const KeyStroke &k : parseKeys(script)) {
        model.keyDown(k.key, k.modifiers);
        if (k.modifiers.testFlag(Qt::ControlModifier))
            continue;
        for (const QChar c : k.text) {
            if (c.category() != QChar::Other_Control)
                model.keyPress(c.unicode());
        }
    }
}

} // namespace editortest
