#include "tapes/RecordedQualityTag.h"

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/MP4Tags.h"

namespace spindrel {

namespace {

// An item of our own in 'ilst': the 'uuid' atom of 'udta' belongs to the tape letter, and other
// programs keep items they do not know.
constexpr uint32_t RecordedQualityAtom = fourCC("SPqu");

} // namespace

std::optional<QString> readRecordedQuality(const MP4Tags& tags)
{
    const auto value = tags.readAtom(RecordedQualityAtom);
    if (!value)
        return std::nullopt;
    return value->text();
}

bool writeRecordedQuality(MP4Tags& tags, const QString& quality)
{
    return tags.setData(quality.toUtf8(), RecordedQualityAtom, MP4Tags::TextType);
}

} // namespace spindrel
