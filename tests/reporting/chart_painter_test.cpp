// Charts as the screen shows them. With QM_GALLERY set to a folder, the pictures are kept there.
#include "documents/ChartSamples.h"
#include "reporting/viewer/ChartPainter.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QtTest>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

constexpr ChartSize kSize{500, 185};
constexpr int kDotsPerPoint = 3;

QColor colourOf(ChartColour colour, ChartScheme scheme)
{
    const ChartRgb rgb = chartRgb(colour, scheme);
    return {rgb.red, rgb.green, rgb.blue};
}

QImage paint(const ChartPicture &picture, ChartScheme scheme)
{
    QImage image(static_cast<int>(kSize.width) * kDotsPerPoint, static_cast<int>(kSize.height) * kDotsPerPoint, QImage::Format_RGB32);
    image.fill(colourOf(ChartColour::Page, scheme));
    QPainter painter(&image);
    painter.scale(kDotsPerPoint, kDotsPerPoint);
    paintChart(painter, {0, 0}, picture, scheme);
    return image;
}

} // namespace

class ChartPainterTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFilledShapeHasItsColourOnTheScreen_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const ChartSample &sample : chartSamples())
            QTest::newRow(sample.name) << index++;
    }

    void everyFilledShapeHasItsColourOnTheScreen()
    {
        QFETCH(int, index);
        const ChartSample sample = chartSamples()[static_cast<std::size_t>(index)];
        const ChartPicture picture = layoutChart(sample.spec, sample.data, kSize, screenTextWidth());
        for (const ChartScheme scheme : {ChartScheme::Light, ChartScheme::Dark}) {
            const QImage image = paint(picture, scheme);
            if (const QString folder = qEnvironmentVariable("QM_GALLERY"); !folder.isEmpty()) {
                const QString name = QDir(folder).filePath(QString::fromLatin1(sample.name));
                QVERIFY(image.save(name + (scheme == ChartScheme::Dark ? u"-dark.png"_s : u"-light.png"_s)));
                if (scheme == ChartScheme::Light)
                    QVERIFY(image.convertToFormat(QImage::Format_Grayscale8).save(name + u"-grey.png"_s));
            }
            for (const ChartShape &shape : picture.shapes) {
                const auto *const rect = std::get_if<ChartRect>(&shape);
                if (!rect || rect->width < 2 || rect->height < 2)
                    continue;
                const QRgb wanted = colourOf(*rect->paint.fill, scheme).rgb();
                int found = 0;
                for (int y = 0; y < static_cast<int>(rect->height * kDotsPerPoint); ++y) {
                    const auto *const line =
                        reinterpret_cast<const QRgb *>(image.constScanLine(static_cast<int>(rect->y * kDotsPerPoint) + y));
                    for (int x = 0; x < static_cast<int>(rect->width * kDotsPerPoint); ++x)
                        found += line[static_cast<int>(rect->x * kDotsPerPoint) + x] == wanted;
                }
                QVERIFY2(found > rect->width * rect->height * kDotsPerPoint * kDotsPerPoint / 4, sample.name);
            }
        }
    }
};

QTEST_MAIN(ChartPainterTest)
#include "chart_painter_test.moc"
