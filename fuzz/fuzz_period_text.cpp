// The text typed into the byte value spinner, committed with Enter, in
// each display mode (0 character, 1 decimal, 2 hexadecimal, 3 a mode the
// spinner does not know).
//
// Input: one byte for the mode, the value the spinner held before and
// whether the text is UTF-8 or Latin-1; the rest is the text.
//
// Invariants: Enter raises Changed once; the value read does not depend on
// the value held before; in the three known modes the text is redrawn in
// its canonical form (one character, three decimal digits, two upper-case
// hexadecimal digits) for a value 0 to 255, and that text reads back to
// the same value and is drawn the same again.
#include "FuzzCheck.h"
#include "byteEditor.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>

#include <cstdint>

namespace {

struct Spinner {
    byteEditor editor;
    QLineEdit *text = editor.findChild<QLineEdit *>(QStringLiteral("Text1"));
    int changes = 0;

    Spinner()
    {
        QObject::connect(&editor, &byteEditor::Changed, [this] { ++changes; });
    }

    // Types `typed` over whatever is shown and presses Enter; the value read.
    int commit(const QString &typed)
    {
        text->setText(typed);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Return, Qt::NoModifier);
        QCoreApplication::sendEvent(text, &release);
        return editor.return_value();
    }
};

bool isCanonical(int mode, const QString &shown, int value)
{
    switch (mode) {
    case 0: return shown.size() == 1 && shown.at(0).unicode() == value;
    case 1: return shown == QStringLiteral("%1").arg(value, 3, 10, QLatin1Char('0'));
    case 2: return shown == QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0')).toUpper();
    default: return true;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: Qt's own globals are gone by the time statics of
    // ours would be, and tearing the application down then crashes.
    new QApplication(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1)
        return 0;
    // Kept for the whole run like the application it lives in.
    static Spinner &spinner = *new Spinner;
    const int mode = data[0] & 3;
    const std::int16_t heldBefore = static_cast<std::int16_t>((data[0] >> 2) * 9);
    const QByteArray raw(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    const QString typed = (data[0] & 0x80) != 0 ? QString::fromUtf8(raw) : QString::fromLatin1(raw);

    spinner.editor.set_values(heldBefore, mode, QString());
    spinner.changes = 0;
    const int value = spinner.commit(typed);
    FUZZ_CHECK(spinner.changes == 1);
    FUZZ_CHECK(value >= 0 && value <= 255);

    // The same text read from another starting value reads the same.
    spinner.editor.set_values(static_cast<std::int16_t>(255 - heldBefore), mode, QString());
    FUZZ_CHECK(spinner.commit(typed) == value);

    if (mode == 3)
        return 0;
    const QString shown = spinner.text->text();
    FUZZ_CHECK(isCanonical(mode, shown, value));
    FUZZ_CHECK(spinner.commit(shown) == value);
    FUZZ_CHECK(spinner.text->text() == shown);
    return 0;
}
