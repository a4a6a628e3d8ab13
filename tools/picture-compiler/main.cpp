// Records one SVG drawing as the painter commands that draw it, so that the programs need no SVG reader:
//   picture-compiler DRAWING.svg RECORDING
// The recording has the size of the drawing's view box. It is played back at several sizes and compared with the drawing before it counts.

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPicture>
#include <QSaveFile>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

namespace {

/// The largest difference of a colour channel, 0 to 255, that rounding may make.
constexpr int kTolerance = 8;

template <class Draw>
QImage drawn(const QSize &size, Draw draw)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter);
    return image;
}

int largestDifference(const QImage &a, const QImage &b)
{
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (const int shift : {0, 8, 16, 24}) {
                const auto channel = [&](const QImage &image) {
                    return static_cast<int>((reinterpret_cast<const QRgb *>(image.constScanLine(y))[x] >> shift) & 0xFFU);
                };
                largest = std::max(largest, std::abs(channel(a) - channel(b)));
            }
    return largest;
}

int fail(const QString &file, const QString &why)
{
    std::fprintf(stderr, "picture-compiler: %s: %s\n", qPrintable(file), qPrintable(why));
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return fail(QStringLiteral("usage"), QStringLiteral("picture-compiler DRAWING.svg RECORDING"));
    const QString &source = arguments[1];
    QSvgRenderer drawing(source);
    if (!drawing.isValid())
        return fail(source, QStringLiteral("it is not an SVG drawing that can be read"));

    const QSizeF box = drawing.viewBoxF().size();
    QPicture recording;
    QPainter painter(&recording);
    drawing.render(&painter, QRectF(QPointF(), box));
    recording.setBoundingRect(QRect(QPoint(), box.toSize())); // it is written when painting ends
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !recording.save(&buffer))
        return fail(source, QStringLiteral("it could not be recorded"));

    QPicture played;
    QBuffer again(&bytes);
    if (!again.open(QIODevice::ReadOnly) || !played.load(&again))
        return fail(source, QStringLiteral("its recording could not be read back"));
    const QSizeF size(played.boundingRect().size());
    if (size != box)
        return fail(source, QStringLiteral("its view box must begin at 0 and have whole numbers"));
    for (const int width : {16, 20, 24, 33, 48, 480}) {
        const QSize shown(width, static_cast<int>(width * size.height() / size.width()));
        const QImage wanted = drawn(shown, [&](QPainter &p) { drawing.render(&p, QRectF(QPointF(), shown)); });
        const QImage got = drawn(shown, [&](QPainter &p) {
            p.scale(shown.width() / size.width(), shown.height() / size.height());
            played.play(&p);
        });
        if (const int difference = largestDifference(wanted, got); difference > kTolerance)
            return fail(source, QStringLiteral("its recording differs by %1 at a width of %2").arg(difference).arg(width));
    }

    QSaveFile file(arguments[2]);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fail(arguments[2], file.errorString());
    return EXIT_SUCCESS;
}
