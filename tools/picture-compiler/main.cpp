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
    painter.end();
    recording.setBoundingRect(QRect(QPoint(), box.toSize()));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !recording.save(&buffer))
        return fail(source, QStringLiteral("it could not be recorded"));

    QPicture played;
    played.setData(bytes.constData(), static_cast<uint>(bytes.size()));
    for (const int width : {16, 20, 24, 33, 48, 480}) {
        const QSize size(width, static_cast<int>(width * box.height() / box.width()));
        const QImage wanted = drawn(size, [&](QPainter &p) { drawing.render(&p, QRectF(QPointF(), size)); });
        const QImage got = drawn(size, [&](QPainter &p) {
            p.scale(size.width() / box.width(), size.height() / box.height());
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
