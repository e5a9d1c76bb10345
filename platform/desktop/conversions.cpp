// Fonts, units, colours and pictures of the layer as the toolkit has them.

#include "platform/desktop/conversions.h"

#include "platform/base/byte_reader.h"
#include "platform/windows/display.h"
#include "platform/windows/resources.h"

#include <QApplication>
#include <QBuffer>
#include <QFontMetricsF>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace platform::desktop {

namespace {

// The two published headers ahead of what the resources hold.
constexpr std::uint32_t BitmapFileHeader = 14;
constexpr std::uint16_t IconResource = 3;

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr double ArialAlphabet = 30.339; // its width in ems, by the published widths of Arial

// A cell may be higher by what rounding makes of it.
constexpr double Tolerance = 0.5;

void Put(QByteArray& bytes, std::uint32_t value, int size) {
    for (int byte = 0; byte < size; ++byte)
        bytes.append(static_cast<char>(value >> (8 * byte)));
}

void Put(QByteArray& bytes, std::span<const std::uint8_t> data) {
    bytes.append(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
}

} // namespace

QFont FontOf(const LOGFONTA& description) {
    QFont font = QApplication::font();
    font.setFamilies({QString::fromLatin1(description.lfFaceName)});
    font.setWeight(description.lfWeight >= FW_BOLD ? QFont::Bold : QFont::Normal);
    font.setHintingPreference(QFont::PreferVerticalHinting); // widths stay those of the design
    const int em = static_cast<int>(std::abs(description.lfHeight));
    const auto cell = static_cast<double>(LineHeight(description));
    for (int size = em; size > 0; --size) {
        font.setPixelSize(size);
        if (QFontMetricsF(font).height() <= cell + Tolerance)
            break;
    }
    return font;
}

Scale::Scale(const QFont& pageFont)
    : across_(std::max(1.0, QFontMetricsF(pageFont).horizontalAdvance(QLatin1String(Alphabet)) /
                                (ArialAlphabet * pageFont.pixelSize()))) {}

QRect Scale::Of(const RECT& rect) const {
    const int left = static_cast<int>(std::lround(static_cast<double>(rect.left) * across_));
    const int right = static_cast<int>(std::lround(static_cast<double>(rect.right) * across_));
    return {left, static_cast<int>(rect.top), right - left,
            static_cast<int>(rect.bottom - rect.top)};
}

QSize Scale::Of(const SIZE& size) const { return Of(RECT{0, 0, size.cx, size.cy}).size(); }

QColor ColourOf(COLORREF colour) {
    return {static_cast<int>(colour & 0xFF), static_cast<int>(colour >> 8 & 0xFF),
            static_cast<int>(colour >> 16 & 0xFF)};
}

QPixmap PixmapOf(const Picture& picture) {
    QByteArray file("BM");
    Put(file, static_cast<std::uint32_t>(BitmapFileHeader + picture.bitmap.size()), 4);
    Put(file, 0, 4);
    Put(file, static_cast<std::uint32_t>(BitmapFileHeader + picture.pixels), 4);
    Put(file, picture.bitmap);
    return QPixmap::fromImage(QImage::fromData(file, "BMP"));
}

QPixmap PixmapOf(const Picture& picture, const QSize& pixels) {
    QPixmap bitmap = PixmapOf(picture);
    if (bitmap.isNull() || bitmap.size() == pixels)
        return bitmap;
    QSvgRenderer source(QByteArray(reinterpret_cast<const char*>(picture.vector.data()),
                                   static_cast<qsizetype>(picture.vector.size())));
    if (!source.isValid())
        return bitmap.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QPixmap drawn(pixels);
    drawn.fill(Qt::transparent);
    QPainter painter(&drawn);
    source.render(&painter);
    return drawn;
}

// The group names its images by number where an icon file has their offsets.
QIcon ProgramIcon() {
    constexpr std::uint32_t GroupHeader = 6, FileEntry = 16;
    const auto group = FirstResourceData(IconGroupResource);
    if (!group)
        return {};
    ByteReader reader(*group);
    reader.Skip(4);
    const std::uint32_t count = reader.Word();
    QByteArray header, images;
    Put(header, 1U << 16, 4); // reserved, and the type of an icon
    Put(header, count, 2);
    for (std::uint32_t image = 0; image < count && !reader.Failed(); ++image) {
        Put(header, reader.Long(), 4); // size and colours
        Put(header, reader.Long(), 4); // planes and depth
        Put(header, reader.Long(), 4); // bytes
        const auto data = FindResourceData(IconResource, reader.Word());
        if (!data)
            return {};
        Put(header, GroupHeader + count * FileEntry + static_cast<std::uint32_t>(images.size()), 4);
        Put(images, *data);
    }
    QIcon icon;
    QByteArray file = header + images;
    QBuffer buffer(&file);
    QImageReader pictures(&buffer, "ICO");
    for (int image = 0; image < pictures.imageCount(); ++image, pictures.jumpToNextImage())
        icon.addPixmap(QPixmap::fromImageReader(&pictures));
    return icon;
}

} // namespace platform::desktop
