#include "UnitLamps.h"

#include "UnitReport.h"

#include <QHBoxLayout>
#include <QPainter>

namespace {

constexpr int Diameter = 34;
constexpr int Gap = 4;

} // namespace

Lamp::Lamp(int output, QWidget *parent)
    : QWidget(parent)
    , m_output(output)
{
    setObjectName(QStringLiteral("Lamp%1").arg(output + 1));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setState(false, QString());
}

void Lamp::setState(bool lit, const QString &remaining)
{
    if (lit == m_lit && remaining == m_remaining && !accessibleName().isEmpty())
        return;
    m_lit = lit;
    m_remaining = remaining;
    QString state = lit ? QStringLiteral("on") : QStringLiteral("off");
    if (!remaining.isEmpty())
        state += QStringLiteral(", ") + remaining + QStringLiteral(" left");
    const QString text = QStringLiteral("Output %1: %2").arg(m_output + 1).arg(state);
    setAccessibleName(text);
    setToolTip(text);
    update();
}

QSize Lamp::sizeHint() const
{
    const QFontMetrics fm(font());
    return {std::max(Diameter, fm.horizontalAdvance(QStringLiteral("255.0 s"))) + 2 * Gap,
            Diameter + Gap + fm.height() + Gap};
}

void Lamp::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF light((width() - Diameter) / 2.0, Gap / 2.0, Diameter, Diameter);
    // Amber when lit, as a panel light, dull grey when off; the number
    // turns bold too, so that the state does not rest on colour alone.
    QRadialGradient glow(light.center(), Diameter / 2.0);
    glow.setColorAt(0, m_lit ? QColor(255, 236, 140) : QColor(200, 200, 200));
    glow.setColorAt(1, m_lit ? QColor(240, 160, 0) : QColor(130, 130, 130));
    p.setPen(QPen(QColor(70, 70, 70), 1.5));
    p.setBrush(glow);
    p.drawEllipse(light);

    QFont number = font();
    number.setBold(m_lit);
    number.setPointSizeF(number.pointSizeF() * 1.2);
    p.setFont(number);
    p.setPen(m_lit ? Qt::black : QColor(60, 60, 60));
    p.drawText(light, Qt::AlignCenter, QString::number(m_output + 1));

    p.setFont(font());
    p.setPen(palette().color(QPalette::WindowText));
    const QRectF below(0, light.bottom() + Gap, width(), height() - light.bottom() - Gap);
    p.drawText(below, Qt::AlignHCenter | Qt::AlignTop, m_remaining);
}

UnitLamps::UnitLamps(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("Lamps"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    for (int n = 0; n < Count; ++n) {
        m_lamps[static_cast<std::size_t>(n)] = new Lamp(n, this);
        row->addWidget(m_lamps[static_cast<std::size_t>(n)]);
    }
    row->addStretch();
}

void UnitLamps::showOutputs(std::uint8_t outputs, const std::array<std::optional<qint64>, Count> &remainingMs)
{
    for (int n = 0; n < Count; ++n) {
        const auto i = static_cast<std::size_t>(n);
        const bool lit = (outputs & (1u << n)) != 0;
        const QString left = lit && remainingMs[i] ? UnitReport::remainingText(*remainingMs[i]) : QString();
        m_lamps[i]->setState(lit, left);
    }
}
