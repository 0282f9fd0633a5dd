#include "tapes/CassetteValues.h"

#include "tapes/CassetteSlogan.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(CassetteSloganTest, ProcessShowsOneSloganThroughout)
{
    const QString slogan = CassetteSlogan::processSlogan();
    EXPECT_FALSE(slogan.isEmpty());
    EXPECT_EQ(CassetteSlogan::processSlogan(), slogan);
    EXPECT_EQ(CassetteValues().doorSlogan, slogan);
}

TEST(CassetteValuesTest, StillPictureIgnoresOnlyTheHubAngles)
{
    CassetteValues values;
    CassetteValues turned = values;
    turned.spoolRotation = 2.0;
    turned.rightRotationMultiplier = 0.5;
    EXPECT_TRUE(values.hasSameStillPicture(turned));
    EXPECT_FALSE(values == turned);
    CassetteValues relabelled = turned;
    relabelled.notes = QStringLiteral("x");
    EXPECT_FALSE(values.hasSameStillPicture(relabelled));
    CassetteValues rewound = values;
    rewound.leftPackDiameter = 100.0;
    EXPECT_FALSE(values.hasSameStillPicture(rewound));
}

TEST(CassetteValuesTest, PacksKeepTheTapeAreaAsThePlayPositionMoves)
{
    const auto [startLeft, startRight] = CassetteValues::packDiametersForProgress(0.0);
    EXPECT_EQ(CassetteValues::packDiametersForProgress(1.0), std::pair(startRight, startLeft));
    // Out-of-range positions are held at the ends.
    EXPECT_EQ(CassetteValues::packDiametersForProgress(-0.5), CassetteValues::packDiametersForProgress(0.0));
    EXPECT_EQ(CassetteValues::packDiametersForProgress(7.0), CassetteValues::packDiametersForProgress(1.0));

    const double area = startLeft * startLeft + startRight * startRight;
    double previousLeft = startLeft;
    for (double progress = 0.1; progress <= 1.0; progress += 0.1) {
        const auto [left, right] = CassetteValues::packDiametersForProgress(progress);
        EXPECT_NEAR(left * left + right * right, area, 1e-9);
        EXPECT_LT(left, previousLeft);
        previousLeft = left;
    }
    // The still drawing's packs lie near the start of the tape.
    const auto [left, right] = CassetteValues::packDiametersForProgress(0.225);
    EXPECT_NEAR(left, 155.0, 1.0);
    EXPECT_NEAR(right, 89.0, 1.0);
}
