#include "ToolbarIcons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace tavo {

namespace {

using Glyph = void (*)(QPainter &);

const QColor Outline(0x40, 0x40, 0x40);
const QColor Paper(0xFF, 0xFF, 0xFF);
const QColor Folder(0xF2, 0xC1, 0x4E);
const QColor FolderDark(0xC8, 0x96, 0x28);
const QColor Blue(0x2A, 0x62, 0xC9);
const QColor Green(0x2E, 0x9E, 0x3E);
const QColor Red(0xD0, 0x30, 0x30);
const QColor Steel(0x7A, 0x86, 0x94);

void stroke(QPainter &p, const QColor &colour, qreal width = 1.0)
{
    p.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
}

void fill(QPainter &p, const QColor &inside, const QColor &edge = Outline)
{
    p.setPen(QPen(edge, 1.0, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    p.setBrush(inside);
}

void page(QPainter &p, qreal right = 12.5)
{
    fill(p, Paper);
    p.drawPolygon(QPolygonF{{2.5, 1.5}, {right - 3, 1.5}, {right, 4.5}, {right, 14.5}, {2.5, 14.5}});
    stroke(p, Outline);
    p.drawPolyline(QPolygonF{{right - 3, 1.5}, {right - 3, 4.5}, {right, 4.5}});
}

void arrow(QPainter &p, QPointF from, QPointF to, const QColor &colour)
{
    stroke(p, colour, 2.0);
    p.drawLine(from, to);
    const QLineF line(to, from);
    QLineF wing = line;
    wing.setLength(3.5);
    wing.setAngle(line.angle() + 40);
    p.drawLine(wing);
    wing.setAngle(line.angle() - 40);
    p.drawLine(wing);
}

void floppy(QPainter &p, const QRectF &r)
{
    fill(p, Blue, Blue.darker(150));
    p.drawRect(r);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xD8, 0xD8, 0xD8)); // shutter
    p.drawRect(QRectF(r.left() + r.width() * 0.25, r.top() + 0.5, r.width() * 0.5, r.height() * 0.32));
    p.setBrush(Paper); // label
    p.drawRect(QRectF(r.left() + 2, r.top() + r.height() * 0.55, r.width() - 4, r.height() * 0.45 - 0.5));
}

void circleBadge(QPainter &p)
{
    fill(p, Blue, Blue.darker(140));
    p.drawEllipse(QRectF(1.5, 1.5, 13, 13));
}

// One function per toolbar key, each drawing on the 16 x 16 grid.

void newGlyph(QPainter &p)
{
    page(p);
    // a spark in the corner: something that was not there before
    stroke(p, QColor(0xE8, 0xA0, 0x00), 1.5);
    p.drawLine(QPointF(12.5, 9), QPointF(12.5, 15));
    p.drawLine(QPointF(9.5, 12), QPointF(15.5, 12));
}

void openGlyph(QPainter &p)
{
    fill(p, FolderDark);
    p.drawPolygon(QPolygonF{{1.5, 3.5}, {6, 3.5}, {7.5, 5}, {13.5, 5}, {13.5, 13.5}, {1.5, 13.5}});
    fill(p, Folder);
    p.drawPolygon(QPolygonF{{1.5, 13.5}, {4, 7.5}, {15.5, 7.5}, {13.5, 13.5}});
}

void saveGlyph(QPainter &p)
{
    floppy(p, QRectF(1.5, 1.5, 13, 13));
}

void saveAsGlyph(QPainter &p)
{
    floppy(p, QRectF(0.5, 0.5, 11, 11));
    // a pencil: the same data under another name
    p.setPen(QPen(Outline, 0.8));
    p.setBrush(QColor(0xF0, 0xB0, 0x30));
    p.drawPolygon(QPolygonF{{8.5, 13.5}, {14, 8}, {15.5, 9.5}, {10, 15}});
    p.setBrush(Outline);
    p.drawPolygon(QPolygonF{{8.5, 13.5}, {10, 15}, {7.6, 15.6}});
}

void exportGlyph(QPainter &p)
{
    page(p, 10.5);
    arrow(p, QPointF(5, 9.5), QPointF(15, 9.5), Green);
}

void settingsGlyph(QPainter &p)
{
    // a gear
    p.setPen(Qt::NoPen);
    p.setBrush(Steel);
    p.save();
    p.translate(8, 8);
    for (int i = 0; i < 8; ++i) {
        p.drawRect(QRectF(-1.5, -7.5, 3, 4));
        p.rotate(45);
    }
    p.restore();
    fill(p, Steel, Steel.darker(150));
    p.drawEllipse(QPointF(8, 8), 5, 5);
    fill(p, Paper, Steel.darker(150));
    p.drawEllipse(QPointF(8, 8), 2, 2);
}

void testGlyph(QPainter &p)
{
    // a scope screen showing serial bits going out
    fill(p, QColor(0x20, 0x28, 0x30), Outline);
    p.drawRoundedRect(QRectF(0.5, 2.5, 15, 11), 1.5, 1.5);
    stroke(p, QColor(0x60, 0xE0, 0x70), 1.2);
    p.drawPolyline(QPolygonF{
        {2, 10}, {4, 10}, {4, 5}, {7, 5}, {7, 10}, {9, 10}, {9, 5}, {10.5, 5}, {10.5, 10}, {14, 10}});
}

void downloadGlyph(QPainter &p)
{
    // a chip with the configuration going into it
    stroke(p, Outline, 1.0);
    for (int i = 0; i < 4; ++i) {
        const qreal x = 4.5 + 2.33 * i;
        p.drawLine(QPointF(x, 9), QPointF(x, 15.5));
    }
    fill(p, QColor(0x30, 0x30, 0x30), Outline);
    p.drawRect(QRectF(2.5, 10.5, 11, 4));
    arrow(p, QPointF(8, 0.5), QPointF(8, 8.5), Blue);
}

void exitGlyph(QPainter &p)
{
    stroke(p, Red, 2.6);
    p.drawLine(QPointF(3.5, 3.5), QPointF(12.5, 12.5));
    p.drawLine(QPointF(12.5, 3.5), QPointF(3.5, 12.5));
}

void minimiseGlyph(QPainter &p)
{
    fill(p, Paper);
    p.drawRect(QRectF(1.5, 2.5, 13, 11));
    p.setPen(Qt::NoPen);
    p.setBrush(Blue);
    p.drawRect(QRectF(2, 3, 12, 2)); // title bar
    p.setBrush(Outline);
    p.drawRect(QRectF(4, 10, 8, 2)); // the minimise bar
}

void helpGlyph(QPainter &p)
{
    circleBadge(p);
    stroke(p, Paper, 1.8);
    QPainterPath hook;
    hook.moveTo(5.6, 6.2);
    hook.cubicTo(5.6, 3.6, 10.4, 3.6, 10.4, 6.2);
    hook.cubicTo(10.4, 8.0, 8.0, 7.9, 8.0, 9.8);
    p.drawPath(hook);
    p.setPen(Qt::NoPen);
    p.setBrush(Paper);
    p.drawEllipse(QPointF(8, 12.2), 1.1, 1.1);
}

void aboutGlyph(QPainter &p)
{
    circleBadge(p);
    p.setPen(Qt::NoPen);
    p.setBrush(Paper);
    p.drawEllipse(QPointF(8, 4.8), 1.2, 1.2);
    p.drawRect(QRectF(7, 7, 2, 5.5));
}

struct KeyGlyph {
    const char *key;
    Glyph draw;
};

constexpr KeyGlyph Glyphs[] = {
    {"NEW", newGlyph},        {"OPEN", openGlyph},         {"SAVE", saveGlyph}, {"SAVEAS", saveAsGlyph},
    {"EXPORT", exportGlyph},  {"SETTINGS", settingsGlyph}, {"TEST", testGlyph}, {"DOWNLOAD", downloadGlyph},
    {"EXITCROSS", exitGlyph}, {"MIN", minimiseGlyph},      {"HELP", helpGlyph}, {"ABOUT", aboutGlyph},
};

void unitGlyph(QPainter &p)
{
    // The unit: a grey case with a serial connector and eight output lamps.
    fill(p, QColor(0x50, 0x58, 0x60), QColor(0x28, 0x2C, 0x30));
    p.drawRoundedRect(QRectF(1.5, 3.5, 13, 10), 1.5, 1.5);
    fill(p, Steel, QColor(0x28, 0x2C, 0x30));
    p.drawRect(QRectF(4.5, 1.5, 7, 2));
    p.setPen(Qt::NoPen);
    const QColor lamps[8] = {Green, Green, Red, Green, Red, Green, Green, Red};
    for (int i = 0; i < 8; ++i) {
        p.setBrush(lamps[i]);
        const int column = i % 4;
        const int row = i / 4; // the lamps stand in two rows of four
        p.drawEllipse(QPointF(3.8 + 2.8 * column, 7 + 3.6 * row), 1.0, 1.0);
    }
}

class GlyphEngine : public QIconEngine
{
public:
    explicit GlyphEngine(Glyph glyph)
        : m_glyph(glyph)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        painter->drawPixmap(rect, pixmap(rect.size() * painter->device()->devicePixelRatio(), mode, state));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter p(&image);
            p.setRenderHint(QPainter::Antialiasing);
            p.scale(size.width() / 16.0, size.height() / 16.0);
            m_glyph(p);
        }
        if (mode == QIcon::Disabled)
            fadeToGrey(image);
        return QPixmap::fromImage(image);
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }

    QIconEngine *clone() const override { return new GlyphEngine(m_glyph); }

private:
    static void fadeToGrey(QImage &image)
    {
        for (int y = 0; y < image.height(); ++y) {
            auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = QColor::fromRgba(qUnpremultiply(line[x]));
                const int grey = 128 + qGray(c.rgb()) / 3;
                line[x] = qPremultiply(qRgba(grey, grey, grey, c.alpha() / 2));
            }
        }
    }

    Glyph m_glyph;
};

} // namespace

QStringList toolbarIconKeys()
{
    QStringList keys;
    for (const KeyGlyph &glyph : Glyphs)
        keys << QString::fromLatin1(glyph.key);
    return keys;
}

QIcon toolbarIcon(const QString &key)
{
    for (const KeyGlyph &glyph : Glyphs) {
        if (key == QLatin1String(glyph.key))
            return QIcon(new GlyphEngine(glyph.draw));
    }
    return {};
}

QIcon applicationIcon()
{
    return QIcon(new GlyphEngine(unitGlyph));
}

} // namespace tavo
