// Icons between the 8-bit system palette and Qt images.
#include <QTest>

#include <vector>

#include "calvorin/IconBitmap.h"
#include "ui/IconPalette.h"

class IconPaletteTest : public QObject {
    Q_OBJECT

private slots:
    void EveryIndexComesBackAsItsColour()
    {
        for (int index = 0; index < 255; ++index) {
            const QRgb color = IconPalette::ColorAt(uint8_t(index));
            QCOMPARE(qAlpha(color), 255);
            // Indices that share a colour come back as the first of them.
            QCOMPARE(IconPalette::ColorAt(IconPalette::NearestIndex(color)), color);
        }
        QCOMPARE(qAlpha(IconPalette::ColorAt(255)), 0);
        QCOMPARE(IconPalette::ColorAt(0), qRgba(0, 0, 0, 255));
        QCOMPARE(IconPalette::ColorAt(63), qRgba(255, 255, 255, 255));
    }

    void TransparencyAndNearestColours()
    {
        QCOMPARE(IconPalette::NearestIndex(qRgba(255, 0, 0, 0)), uint8_t(255));
        QCOMPARE(IconPalette::NearestIndex(qRgba(255, 0, 0, 100)), uint8_t(255));
        // Nearly pure red is the palette's pure red.
        QCOMPARE(IconPalette::ColorAt(IconPalette::NearestIndex(qRgba(250, 3, 2, 255))),
                 qRgba(255, 0, 0, 255));
    }

    void IconsRoundTripThroughImages()
    {
        std::vector<uint8_t> bits(1024);
        for (size_t i = 0; i < bits.size(); ++i)
            bits[i] = uint8_t(i % 256);
        const IconBitmap large(32, 32, bits.data());
        const QImage image = IconPalette::ToImage(large);
        QCOMPARE(image.size(), QSize(32, 32));
        QCOMPARE(image.pixel(1, 0), IconPalette::ColorAt(1));
        QCOMPARE(qAlpha(image.pixel(31, 7)), 0);  // index 255

        IconBitmap back(32, 32);
        IconPalette::FillBitmap(image, &back);
        for (size_t i = 0; i < bits.size(); ++i)
            QCOMPARE(IconPalette::ColorAt(back.Bits()[i]), IconPalette::ColorAt(bits[i]));
    }

    void AnImageOfAnotherSizeIsScaled()
    {
        QImage image(64, 64, QImage::Format_ARGB32);
        image.fill(qRgba(0, 0, 255, 255));
        IconBitmap mini(16, 16);
        IconPalette::FillBitmap(image, &mini);
        for (size_t i = 0; i < mini.BitsLength(); ++i)
            QCOMPARE(IconPalette::ColorAt(mini.Bits()[i]), qRgba(0, 0, 255, 255));
    }
};

QTEST_MAIN(IconPaletteTest)
#include "IconPaletteTest.moc"
