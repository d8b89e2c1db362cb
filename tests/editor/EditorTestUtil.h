#pragma once

#include "ByteDisplay.h"
#include "EditorModel.h"
#include "SerialEditorData.h"

#include <QHash>
#include <QList>
#include <QStringList>

namespace editortest {

// A message written as "72a 105a 13c 5d 10h 5b 63i": value, then the type
// letter (ASCII, Decimal, Hexadecimal, Binary, Control, Ignore, or a digit).
inline SerialEditorData msg(const QString &written, bool canDoIgnore = false)
{
    SerialEditorData m;
    const QStringList bytes = written.split(u' ', Qt::SkipEmptyParts);
    for (int i = 0; i < bytes.size(); ++i) {
        const qsizetype letter = QStringLiteral("adhbc5i").indexOf(bytes[i].back());
        m.SetByteValue(i, static_cast<std::int16_t>(bytes[i].chopped(1).toInt()));
        m.SetByteType(i, SerialEditorData::Type(letter < 0 ? bytes[i].back().digitValue() : letter));
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(bytes.size()));
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
    QString text; // typed text, for characters only
};

// A key script: "{C-D}12{Right}{S-Left}ab". Text outside braces is typed
// character by character; inside braces, optional "C-" (Ctrl) and "S-"
// (Shift) prefixes and a key name or letter.
inline QList<KeyStroke> parseKeys(const QString &script)
{
    static const QHash<QString, int> named = {
        {QStringLiteral("Left"), Qt::Key_Left},     {QStringLiteral("Right"), Qt::Key_Right},
        {QStringLiteral("Up"), Qt::Key_Up},         {QStringLiteral("Down"), Qt::Key_Down},
        {QStringLiteral("Home"), Qt::Key_Home},     {QStringLiteral("End"), Qt::Key_End},
        {QStringLiteral("Delete"), Qt::Key_Delete}, {QStringLiteral("Backspace"), Qt::Key_Backspace},
        {QStringLiteral("Insert"), Qt::Key_Insert}, {QStringLiteral("Escape"), Qt::Key_Escape},
        {QStringLiteral("Enter"), Qt::Key_Return}};
    QList<KeyStroke> strokes;
    for (qsizetype i = 0; i < script.size(); ++i) {
        if (script.at(i) != u'{') {
            strokes.append({script.at(i).toUpper().unicode(), Qt::NoModifier, QString(script.at(i))});
            continue;
        }
        const qsizetype close = script.indexOf(u'}', i);
        QString name = script.mid(i + 1, close - i - 1);
        i = close;
        KeyStroke k;
        for (; name.size() > 2 && name.at(1) == u'-'; name = name.mid(2))
            k.modifiers |= name.at(0) == u'C' ? Qt::ControlModifier : Qt::ShiftModifier;
        k.key = name.size() == 1 ? name.at(0).unicode() : named.value(name);
        if (!k.key)
            qFatal("unknown key in a test script");
        strokes.append(k);
    }
    return strokes;
}

// Feeds a script to the model the way the widget does: key-down for every
// stroke, key-press for its typed text.
inline void runKeys(EditorModel &model, const QString &script)
{
    for (const KeyStroke &k : parseKeys(script)) {
        model.keyDown(k.key, k.modifiers);
        for (const QChar c : k.text)
            model.keyPress(c.unicode());
    }
}

} // namespace editortest
