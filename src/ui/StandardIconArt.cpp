#include "ui/StandardIconArt.h"

#include <QPainter>
#include <QPainterPath>

#include <initializer_list>

#include "calvorin/IconBitmap.h"
#include "core/StandardIcons.h"
#include "ui/IconPalette.h"

namespace {

const char* const kNames[kNumberOfStandardIcons] = {
    "Bell", "Calendar", "Birthday", "Telephone", "Letter", "Meeting",
    "Medicine", "Important", "Anniversary", "Task", "Warning",
};

// Colours that the palette holds exactly, so that the icons keep them.
const QColor kOutline(51, 51, 51);
const QColor kGold(255, 203, 0);
const QColor kGoldLight(255, 255, 102);
const QColor kRed(203, 0, 0);
const QColor kBrightRed(255, 51, 51);
const QColor kWhite(255, 255, 255);
const QColor kPaper(248, 248, 248);
const QColor kGrey(152, 152, 152);
const QColor kBlue(0, 102, 203);
const QColor kGreen(0, 153, 51);
const QColor kPink(255, 152, 203);
const QColor kBrown(152, 102, 51);
const QColor kCream(255, 255, 203);

// A closed outline through the points, in their order.
QPainterPath Polygon(std::initializer_list<QPointF> points)
{
    QPainterPath path;
    path.moveTo(*points.begin());
    for (auto point = points.begin() + 1; point != points.end(); ++point)
        path.lineTo(*point);
    path.closeSubpath();
    return path;
}

void DrawBell(QPainter& p)
{
    QPainterPath bell;
    bell.moveTo(16, 3);
    bell.cubicTo(9, 3, 8, 10, 8, 15);
    bell.cubicTo(8, 20, 6, 22, 4, 24);
    bell.lineTo(28, 24);
    bell.cubicTo(26, 22, 24, 20, 24, 15);
    bell.cubicTo(24, 10, 23, 3, 16, 3);
    p.setBrush(kGold);
    p.drawPath(bell);
    p.setBrush(kGoldLight);
    p.setPen(Qt::NoPen);
    p.drawEllipse(QRectF(10.5, 8, 4, 9));
    p.setPen(QPen(kOutline, 1.5));
    p.setBrush(kGold);
    p.drawEllipse(QRectF(14, 24, 4, 4.5));
    p.drawRect(QRectF(3, 23, 26, 2.5));
    p.drawEllipse(QRectF(14.5, 1, 3, 3));
}

void DrawCalendar(QPainter& p)
{
    p.setBrush(kPaper);
    p.drawRoundedRect(QRectF(4, 6, 24, 23), 2, 2);
    p.setBrush(kRed);
    p.drawRoundedRect(QRectF(4, 6, 24, 7), 2, 2);
    p.setPen(Qt::NoPen);
    p.setBrush(kBlue);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            if (row == 2 && column == 3)
                p.setBrush(kRed);
            p.drawRect(QRectF(7 + column * 5, 15.5 + row * 4, 3, 2.5));
        }
    }
    p.setPen(QPen(kOutline, 2, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(10, 3.5), QPointF(10, 8.5));
    p.drawLine(QPointF(22, 3.5), QPointF(22, 8.5));
}

void DrawBirthday(QPainter& p)
{
    p.setBrush(kPink);
    p.drawRoundedRect(QRectF(4, 18, 24, 11), 2, 2);
    p.setBrush(kCream);
    p.drawRoundedRect(QRectF(7, 12, 18, 7), 2, 2);
    p.setPen(Qt::NoPen);
    p.setBrush(kWhite);
    p.drawRect(QRectF(5, 22, 22, 2));
    p.setBrush(kBlue);
    p.drawRect(QRectF(15, 5, 2.5, 7));
    p.setBrush(kGold);
    QPainterPath flame;
    flame.moveTo(16.25, 0.5);
    flame.cubicTo(19, 3, 18.5, 5, 16.25, 5.5);
    flame.cubicTo(14, 5, 13.5, 3, 16.25, 0.5);
    p.drawPath(flame);
}

void DrawTelephone(QPainter& p)
{
    p.setBrush(kRed);
    p.drawPath(Polygon({{9, 14}, {23, 14}, {28, 28}, {4, 28}}));
    QPainterPath handset;
    handset.moveTo(3, 12);
    handset.cubicTo(3, 5, 29, 5, 29, 12);
    handset.lineTo(29, 14);
    handset.lineTo(23, 14);
    handset.lineTo(22, 11);
    handset.cubicTo(18, 9.5, 14, 9.5, 10, 11);
    handset.lineTo(9, 14);
    handset.lineTo(3, 14);
    handset.closeSubpath();
    p.setBrush(kBrightRed);
    p.drawPath(handset);
    p.setBrush(kWhite);
    p.drawEllipse(QRectF(11, 17, 10, 9));
    p.setBrush(kOutline);
    p.drawEllipse(QRectF(14.5, 20, 3, 3));
}

void DrawLetter(QPainter& p)
{
    p.setBrush(kCream);
    p.drawRect(QRectF(3, 8, 26, 17));
    p.setBrush(Qt::NoBrush);
    p.drawLine(QPointF(3, 8), QPointF(16, 18));
    p.drawLine(QPointF(29, 8), QPointF(16, 18));
    p.drawLine(QPointF(3, 25), QPointF(12.5, 15.5));
    p.drawLine(QPointF(29, 25), QPointF(19.5, 15.5));
    p.setPen(Qt::NoPen);
    p.setBrush(kRed);
    p.drawEllipse(QRectF(13.5, 15.5, 5, 5));
}

void DrawPerson(QPainter& p, qreal x, const QColor& colour)
{
    p.setBrush(colour);
    QPainterPath shoulders;
    shoulders.moveTo(x - 8, 29);
    shoulders.cubicTo(x - 8, 18, x + 8, 18, x + 8, 29);
    shoulders.closeSubpath();
    p.drawPath(shoulders);
    p.setBrush(QColor(255, 203, 152));
    p.drawEllipse(QRectF(x - 4.5, 8, 9, 10));
}

void DrawMeeting(QPainter& p)
{
    DrawPerson(p, 20.5, kGreen);
    DrawPerson(p, 11.5, kBlue);
}

// One half of a capsule centred on the origin: side -1 the left, 1 the right.
QPainterPath CapsuleHalf(qreal side)
{
    QPainterPath half;
    half.moveTo(0, -6);
    half.lineTo(8 * side, -6);
    half.arcTo(QRectF(8 * side - 6, -6, 12, 12), 90, -180 * side);
    half.lineTo(0, 6);
    half.closeSubpath();
    return half;
}

void DrawMedicine(QPainter& p)
{
    p.translate(16, 16);
    p.rotate(-45);
    p.setBrush(kRed);
    p.drawPath(CapsuleHalf(-1));
    p.setBrush(kWhite);
    p.drawPath(CapsuleHalf(1));
    p.setPen(Qt::NoPen);
    p.setBrush(kBrightRed);
    p.drawRoundedRect(QRectF(-11, -4, 8, 2.5), 1, 1);
}

void DrawStar(QPainter& p)
{
    QPolygonF star;
    for (int i = 0; i < 10; ++i) {
        const qreal radius = i % 2 == 0 ? 14.5 : 6.2;
        const qreal angle = (-90.0 + i * 36.0) * M_PI / 180.0;
        star << QPointF(16 + radius * std::cos(angle), 17 + radius * std::sin(angle));
    }
    p.setBrush(kGold);
    p.drawPolygon(star);
    p.setPen(Qt::NoPen);
    p.setBrush(kGoldLight);
    p.drawEllipse(QRectF(12.5, 12, 5, 5));
}

void DrawHeart(QPainter& p)
{
    QPainterPath heart;
    heart.moveTo(16, 28);
    heart.cubicTo(4, 20, 2, 14, 2, 10);
    heart.cubicTo(2, 4, 9, 2, 12, 4);
    heart.cubicTo(14, 5, 15.5, 6.5, 16, 8);
    heart.cubicTo(16.5, 6.5, 18, 5, 20, 4);
    heart.cubicTo(23, 2, 30, 4, 30, 10);
    heart.cubicTo(30, 14, 28, 20, 16, 28);
    p.setBrush(kRed);
    p.drawPath(heart);
    p.setPen(Qt::NoPen);
    p.setBrush(kBrightRed);
    p.drawEllipse(QRectF(6, 7, 6, 5));
}

void DrawTask(QPainter& p)
{
    p.setBrush(kPaper);
    p.drawRoundedRect(QRectF(4, 6, 22, 22), 3, 3);
    p.setPen(QPen(kGreen, 4.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    QPainterPath check;
    check.moveTo(9, 16);
    check.lineTo(15, 22);
    check.lineTo(28, 5);
    p.drawPath(check);
}

void DrawWarning(QPainter& p)
{
    p.setPen(QPen(kOutline, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(kGold);
    p.drawPath(Polygon({{16, 2.5}, {30, 28}, {2, 28}}));
    p.setPen(Qt::NoPen);
    p.setBrush(kOutline);
    p.drawPath(Polygon({{14.2, 10}, {17.8, 10}, {17, 20}, {15, 20}}));
    p.drawEllipse(QRectF(14.4, 22, 3.2, 3.2));
}

}  // namespace

const char* StandardIconArt::Name(int number)
{
    return number >= 0 && number < kNumberOfStandardIcons ? kNames[number] : nullptr;
}

QImage StandardIconArt::Draw(int number, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 32.0, size / 32.0);
    // The small icons get bolder outlines so that they stay readable.
    p.setPen(QPen(kOutline, size < 32 ? 2.2 : 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    switch (number) {
        case 0: DrawBell(p); break;
        case 1: DrawCalendar(p); break;
        case 2: DrawBirthday(p); break;
        case 3: DrawTelephone(p); break;
        case 4: DrawLetter(p); break;
        case 5: DrawMeeting(p); break;
        case 6: DrawMedicine(p); break;
        case 7: DrawStar(p); break;
        case 8: DrawHeart(p); break;
        case 9: DrawTask(p); break;
        case 10: DrawWarning(p); break;
        default: break;
    }
    p.end();
    return image;
}

IconBitmap* StandardIconArt::MakeBitmap(int number, int size)
{
    auto* icon = new IconBitmap(size, size);
    IconPalette::FillBitmap(Draw(number, size), icon);
    return icon;
}

void StandardIconArt::Install()
{
    static const IconBitmap* large[kNumberOfStandardIcons] = {};
    static const IconBitmap* mini[kNumberOfStandardIcons] = {};
    static bool built = false;
    if (!built) {
        for (int number = 0; number < kNumberOfStandardIcons; ++number) {
            large[number] = MakeBitmap(number, IconBitmap::kLargeSize);
            mini[number] = MakeBitmap(number, IconBitmap::kMiniSize);
        }
        built = true;
    }
    SetStandardIcons(large, mini);
}
