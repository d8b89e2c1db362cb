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
    QString text; // typed text, for characters only
};

// A key script: "{C-D}12{Right}{S-Left}ab". Text outside braces is typed
// character by character; inside braces, optional "C-" (Ctrl) and "S-"
// (Shift) prefixes and a key name or letter.
inline QList<KeyStroke> parseKeys(const QString &script)
{
    static const QStringList names = QStringLiteral("Left Right Up Down Home End Delete Backspace Insert "
                                                    "Escape Enter Tab PageUp PageDown")
                                         .split(QLatin1Char(' '));
    static const QList<int> keys = {Qt::Key_Left,   Qt::Key_Right,   Qt::Key_Up,     Qt::Key_Down,
                                    Qt::Key_Home,   Qt::Key_End,     Qt::Key_Delete, Qt::Key_Backspace,
                                    Qt::Key_Insert, Qt::Key_Escape,  Qt::Key_Return, Qt::Key_Tab,
                                    Qt::Key_PageUp, Qt::Key_PageDown};
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
        for (; name.size() > 2 && name.at(1) == QLatin1Char('-'); name = name.mid(2))
            k.modifiers |= name.at(0) == QLatin1Char('C') ? Qt::ControlModifier : Qt::ShiftModifier;
        k.key = name.size() == 1 ? name.at(0).unicode() : keys.value(names.indexOf(name), -1);
        if (k.key < 0)
            throw std::invalid_argument("unknown key in test script");
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
