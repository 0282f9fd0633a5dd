#include "tapes/TapeLetterTag.h"

#include "MP4Tags/MP4Tags.h"
#include "foundation/UUID.h"
#include "tapes/TapeLetterArchive.h"

namespace spindrel {

namespace {

const QByteArray& tapeLetterUUID()
{
    static const QByteArray uuid = dataWithUUID(QStringLiteral("400006E8-76A0-48EC-A380-DE5F9E5CAB6C"));
    return uuid;
}

} // namespace

std::optional<TapeLetter> readTapeLetter(const MP4Tags& tags)
{
    const auto value = tags.readUUIDAtom(tapeLetterUUID());
    if (!value)
        return std::nullopt;
    return TapeLetterArchive::decode(value->bytes);
}

bool writeTapeLetter(MP4Tags& tags, const TapeLetter& letter)
{
    return tags.setUserData(TapeLetterArchive::encode(letter), tapeLetterUUID(), MP4Tags::RawDataType);
}

} // namespace spindrel
