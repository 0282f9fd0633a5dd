#include "tapes/CassetteCoverArt.h"

#include "tapes/CassetteArtwork.h"
#include "tapes/CassetteDrawing.h"
#include "tapes/PNGEncoder.h"

#include <QPainter>
#include <array>
#include <cmath>
#include <cstring>
#include <deque>
#include <mutex>

namespace spindrel {

namespace {

using G = CassetteGeometry;

// Rows of the picture that hold the label's text (with room for the ink of tall faces), in
// pixels, first and end: the title, then the time line and the notes together. Nothing else
// there changes from tape to tape.
const std::array<std::pair<int, int>, 2> textBands = [] {
    auto rows = [](double top, double bottom) {
        return std::pair(int(std::floor(top * CassetteCoverArt::scale)),
                         int(std::ceil(bottom * CassetteCoverArt::scale)));
    };
    return std::array{rows(G::titleRect().top() - 4.0, G::titleRect().bottom() + 4.0),
                      rows(G::timeLineRect().top() - 2.0, G::notesRect().bottom() + 4.0)};
}();
constexpr int stillLevel = 9; // once per look, so as small as zlib makes it
constexpr int textLevel = 3;  // for every tape
constexpr std::size_t keptBodies = 16;

QSize pictureSize()
{
    const QSizeF size = CassetteArtwork::tapeSize() * CassetteCoverArt::scale;
    return QSize(int(std::ceil(size.width())), int(std::ceil(size.height())));
}

QImage blankPicture()
{
    return CassetteDrawing::blankImage(pictureSize(), CassetteCoverArt::scale);
}

// Premultiplied `over` laid on `under` row by row, the same arithmetic wherever it is done, so
// rows composed for one tape match the rows composed once for all.
void composeRows(const QImage& over, QImage& under, int firstRow, int endRow)
{
    const int width = under.width();
    for (int y = firstRow; y < endRow; ++y) {
        const auto* top = reinterpret_cast<const QRgb*>(over.constScanLine(y));
        auto* bottom = reinterpret_cast<QRgb*>(under.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const QRgb s = top[x];
            const uint alpha = qAlpha(s);
            if (alpha == 255) {
                bottom[x] = s;
            } else if (alpha != 0) {
                const QRgb d = bottom[x];
                const uint keep = 255 - alpha;
                auto channel = [keep](uint source, uint destination) {
                    const uint t = destination * keep + 128;
                    return source + ((t + (t >> 8)) >> 8);
                };
                bottom[x] = qRgba(int(channel(qRed(s), qRed(d))), int(channel(qGreen(s), qGreen(d))),
                                  int(channel(qBlue(s), qBlue(d))), int(channel(alpha, qAlpha(d))));
            }
        }
    }
}

// What the parts above the label show: the window, the hubs, the glass and the door.
CassetteValues stillKey(const CassetteValues& values)
{
    CassetteValues key;
    key.leftPackDiameter = values.leftPackDiameter;
    key.rightPackDiameter = values.rightPackDiameter;
    key.spoolRotation = values.spoolRotation;
    key.rightRotationMultiplier = values.rightRotationMultiplier;
    key.doorShown = values.doorShown;
    key.doorSlogan = values.doorSlogan;
    return key;
}

// Everything but the text.
CassetteValues bodyKey(const CassetteValues& values)
{
    CassetteValues key = values;
    key.title.clear();
    key.timeLine.clear();
    key.notes.clear();
    key.titleColor = QColor();
    return key;
}

struct Still
{
    CassetteValues key;
    QImage shell;
    QImage over; // the window's inside, the hubs, the glass and the door, on transparency
};

struct Body
{
    CassetteValues key;
    std::array<QImage, 2> bands;          // the text bands of the shell and the label, without the text
    QImage over;                          // as in Still
    std::array<PNGEncoder::Run, 3> still; // the rows around the text bands
};

class Cache
{
public:
    Body body(const CassetteValues& values)
    {
        const std::lock_guard lock(mMutex);
        const CassetteValues key = bodyKey(values);
        for (auto found = mBodies.begin(); found != mBodies.end(); ++found) {
            if (found->key == key) {
                Body body = *found;
                if (found != mBodies.begin()) {
                    mBodies.erase(found);
                    mBodies.push_front(body);
                }
                return body;
            }
        }
        mBodies.push_front(makeBody(values, key));
        if (mBodies.size() > keptBodies)
            mBodies.pop_back();
        return mBodies.front();
    }

private:
    const Still& still(const CassetteValues& values)
    {
        const CassetteValues key = stillKey(values);
        if (!mStill.shell.isNull() && mStill.key == key)
            return mStill;
        mStill.key = key;
        mStill.shell = blankPicture();
        {
            QPainter painter(&mStill.shell);
            CassetteDrawing::beginDrawing(painter);
            CassetteDrawing::drawShell(painter);
        }
        mStill.over = blankPicture();
        {
            QPainter painter(&mStill.over);
            CassetteDrawing::beginDrawing(painter);
            CassetteDrawing::drawWindowInterior(painter, values);
            CassetteDrawing::drawHub(painter, G::leftSpoolCenter(), values.spoolRotation);
            CassetteDrawing::drawHub(painter, G::rightSpoolCenter(),
                                     values.spoolRotation * values.rightRotationMultiplier);
            CassetteDrawing::drawWindowGlass(painter);
            if (values.doorShown)
                CassetteDrawing::drawDoor(painter, values.doorSlogan);
        }
        return mStill;
    }

    Body makeBody(const CassetteValues& values, const CassetteValues& key)
    {
        const Still& parts = still(values);
        Body body;
        body.key = key;
        body.over = parts.over;
        QImage picture = parts.shell.copy();
        {
            QPainter painter(&picture);
            CassetteDrawing::beginDrawing(painter);
            CassetteDrawing::drawLabelBody(painter, values);
        }
        for (std::size_t i = 0; i < textBands.size(); ++i)
            body.bands[i] = picture.copy(0, textBands[i].first, picture.width(),
                                         textBands[i].second - textBands[i].first);
        composeRows(parts.over, picture, 0, picture.height());
        const int height = picture.height();
        body.still[0] = PNGEncoder::compressRows(picture, 0, textBands[0].first, stillLevel, false);
        body.still[1] = PNGEncoder::compressRows(picture, textBands[0].second,
                                                 textBands[1].first - textBands[0].second, stillLevel, false);
        body.still[2] = PNGEncoder::compressRows(picture, textBands[1].second, height - textBands[1].second,
                                                 stillLevel, true);
        return body;
    }

    std::mutex mMutex;
    Still mStill;
    std::deque<Body> mBodies; // the most recently used first
};

Cache& cache()
{
    static Cache instance;
    return instance;
}

} // namespace

QByteArray CassetteCoverArt::png(const CassetteValues& values)
{
    const Body body = cache().body(values);
    // Only the text bands are drawn: the other rows of this picture are never read.
    QImage picture(body.over.size(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    for (std::size_t i = 0; i < textBands.size(); ++i)
        for (int y = textBands[i].first; y < textBands[i].second; ++y)
            std::memcpy(picture.scanLine(y), body.bands[i].constScanLine(y - textBands[i].first),
                        size_t(picture.bytesPerLine()));
    {
        // Unclipped, so that the glyphs come out as the whole drawing has them; ink beyond the
        // bands lands in rows that are not used.
        QPainter painter(&picture);
        CassetteDrawing::beginDrawing(painter);
        CassetteDrawing::drawLabelText(painter, values);
    }
    std::array<PNGEncoder::Run, 2> text;
    for (std::size_t i = 0; i < textBands.size(); ++i) {
        const auto [first, end] = textBands[i];
        composeRows(body.over, picture, first, end);
        text[i] = PNGEncoder::compressRows(picture, first, end - first, textLevel, false);
    }
    return PNGEncoder::assemble(picture.width(), picture.height(),
                                {&body.still[0], &text[0], &body.still[1], &text[1], &body.still[2]});
}

} // namespace spindrel
