#include "platform/barcode/PictureFilters.h"
#include "tests/support/TestMain.h"

#include <QImage>

#include <functional>

using platform::PictureBuffer;
using platform::PictureView;
namespace filters = platform::PictureFilters;

namespace {

using Rows = QList<QList<int>>;

PictureBuffer picture(const Rows& rows)
{
    PictureBuffer result;
    result.resize(int(rows.first().size()), int(rows.size()));
    for (int y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < rows.at(y).size(); ++x) {
            result.row(y)[x] = uchar(rows.at(y).at(x));
        }
    }
    return result;
}

Rows rowsOf(const PictureView& view)
{
    Rows rows;
    for (int y = 0; y < view.height; ++y) {
        rows.append(QList<int>(view.row(y), view.row(y) + view.width));
    }
    return rows;
}

// A step from dark to light in the middle.
PictureBuffer step(int dark, int light)
{
    const QList<int> row{ dark, dark, dark, dark, light, light, light, light };
    return picture({ row, row, row, row });
}

using Filter = std::function<void(const PictureView&, PictureBuffer&)>;

} // namespace

class PictureFiltersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void viewsPartsWithoutCopying();
    void viewsNothingOutside();
    void takesTheMeanOfSquares_data();
    void takesTheMeanOfSquares();
    void dropsWhatFillsNoSquare();
    void interpolatesBetweenPixels();
    void exchanges_data();
    void exchanges();
    void surroundsWithPaper();
    void blursAndSharpensAStep();
    void thresholdsAgainstTheSurroundings();
    void averagesSquares();
    void stretchesLowContrast();
    void thickensAndThins();
    void findsTheEdgeOfAStep();
    void warpsByATransform();
    void keepsTheSizeOf_data();
    void keepsTheSizeOf();
};

void PictureFiltersTest::viewsPartsWithoutCopying()
{
    const PictureBuffer whole = picture({ { 1, 2, 3 }, { 4, 5, 6 }, { 7, 8, 9 } });

    const PictureView part = whole.view().cropped(QRect(1, 1, 5, 5));

    QCOMPARE(rowsOf(part), (Rows{ { 5, 6 }, { 8, 9 } }));
    QCOMPARE(part.pixels, whole.view().row(1) + 1);
    QVERIFY(!part.isPacked());
}

void PictureFiltersTest::viewsNothingOutside()
{
    const PictureBuffer whole = picture({ { 1, 2 }, { 3, 4 } });

    QVERIFY(whole.view().cropped(QRect(2, 0, 1, 1)).isEmpty());
    QVERIFY(whole.view().cropped(QRect()).isEmpty());
}

void PictureFiltersTest::takesTheMeanOfSquares_data()
{
    QTest::addColumn<int>("factor");
    QTest::addColumn<Rows>("result");

    QTest::newRow("2") << 2 << Rows{ { 75, 10, 6 } };
    QTest::newRow("1") << 1 << Rows{ { 200, 0, 0, 0, 6, 6 }, { 0, 100, 0, 40, 6, 6 } };
}

void PictureFiltersTest::takesTheMeanOfSquares()
{
    QFETCH(int, factor);
    QFETCH(Rows, result);
    const PictureBuffer from = picture({ { 200, 0, 0, 0, 6, 6 }, { 0, 100, 0, 40, 6, 6 } });
    PictureBuffer to;

    filters::shrink(from.view(), factor, to);

    QCOMPARE(rowsOf(to.view()), result);
}

void PictureFiltersTest::dropsWhatFillsNoSquare()
{
    PictureBuffer from;
    from.resize(8, 5);
    PictureBuffer to;

    filters::shrink(from.view(), 3, to);

    QCOMPARE(to.view().width, 2);
    QCOMPARE(to.view().height, 1);
}

void PictureFiltersTest::interpolatesBetweenPixels()
{
    const PictureBuffer from = picture({ { 0, 100 }, { 0, 100 } });
    PictureBuffer to;

    filters::resample(from.view(), QSize(4, 2), to);

    QCOMPARE(rowsOf(to.view()), (Rows{ { 0, 25, 75, 100 }, { 0, 25, 75, 100 } }));
}

void PictureFiltersTest::exchanges_data()
{
    QTest::addColumn<Filter>("filter");
    QTest::addColumn<Rows>("result");

    QTest::newRow("invert") << Filter(filters::invert) << Rows{ { 245, 55 }, { 0, 255 } };
    QTest::newRow("mirror") << Filter(filters::mirror) << Rows{ { 200, 10 }, { 0, 255 } };
    QTest::newRow("repeat") << Filter(
        [](const PictureView& from, PictureBuffer& to) { filters::repeatPixels(from, 2, to); })
                            << Rows{ { 10, 10, 200, 200 }, { 10, 10, 200, 200 }, { 255, 255, 0, 0 },
                                   { 255, 255, 0, 0 } };
}

void PictureFiltersTest::exchanges()
{
    QFETCH(Filter, filter);
    QFETCH(Rows, result);
    const PictureBuffer from = picture({ { 10, 200 }, { 255, 0 } });
    PictureBuffer to;

    filter(from.view(), to);

    QCOMPARE(rowsOf(to.view()), result);
}

void PictureFiltersTest::surroundsWithPaper()
{
    PictureBuffer to;

    filters::frame(picture({ { 7 } }).view(), 1, to);

    QCOMPARE(rowsOf(to.view()), (Rows{ { 255, 255, 255 }, { 255, 7, 255 }, { 255, 255, 255 } }));
}

void PictureFiltersTest::blursAndSharpensAStep()
{
    const PictureBuffer from = step(80, 160);
    PictureBuffer blurred;
    PictureBuffer sharp;

    filters::blur(from.view(), blurred);
    filters::sharpen(from.view(), 4, sharp);

    QCOMPARE(rowsOf(blurred.view()).at(1), (QList<int>{ 80, 80, 80, 100, 140, 160, 160, 160 }));
    QCOMPARE(rowsOf(sharp.view()).at(1), (QList<int>{ 80, 80, 80, 60, 180, 160, 160, 160 }));
}

void PictureFiltersTest::thresholdsAgainstTheSurroundings()
{
    PictureBuffer to;

    filters::thresholdLocally(picture({ { 200, 120, 200, 60, 20, 60 } }).view(), 1, to);

    QCOMPARE(rowsOf(to.view()), (Rows{ { 255, 0, 255, 0, 0, 255 } }));
}

void PictureFiltersTest::averagesSquares()
{
    PictureBuffer to;

    filters::average(picture({ { 0, 30, 60 }, { 0, 30, 60 } }).view(), 1, to);

    QCOMPARE(rowsOf(to.view()), (Rows{ { 15, 30, 45 }, { 15, 30, 45 } }));
}

void PictureFiltersTest::stretchesLowContrast()
{
    PictureBuffer from;
    from.resize(64, 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            from.row(y)[x] = uchar(100 + (x + y) % 8);
        }
    }
    PictureBuffer to;

    filters::equalise(from.view(), to);

    const auto row = rowsOf(to.view()).at(32);
    const auto [least, most] = std::minmax_element(row.begin(), row.end());
    QVERIFY2(*most - *least > 8, "no more contrast than before");
    QVERIFY(row.at(1) >= row.at(0));
}

void PictureFiltersTest::thickensAndThins()
{
    const PictureBuffer from = picture({ { 9, 9, 9, 9 }, { 9, 1, 9, 9 }, { 9, 9, 9, 9 } });
    PictureBuffer dark;
    PictureBuffer light;

    filters::darken(from.view(), dark);
    filters::lighten(from.view(), light);

    QCOMPARE(rowsOf(dark.view()).at(0), (QList<int>{ 1, 1, 1, 9 }));
    QCOMPARE(rowsOf(light.view()).at(1), (QList<int>{ 9, 9, 9, 9 }));
}

void PictureFiltersTest::findsTheEdgeOfAStep()
{
    PictureBuffer to;

    filters::findEdges(step(80, 160).view(), to);

    QCOMPARE(rowsOf(to.view()).at(1), (QList<int>{ 0, 0, 0, 80, 80, 0, 0, 0 }));
}

void PictureFiltersTest::warpsByATransform()
{
    const PictureBuffer from = picture({ { 1, 2, 3 }, { 4, 5, 6 } });
    PictureBuffer moved;
    PictureBuffer turned;

    filters::warp(from.view(), QTransform::fromTranslate(1, 0), QSize(3, 2), moved);
    filters::warp(from.view(), QTransform(0, 1, -1, 0, 3, 0), QSize(2, 3), turned);

    QCOMPARE(rowsOf(moved.view()), (Rows{ { 2, 3, 3 }, { 5, 6, 6 } }));
    QCOMPARE(rowsOf(turned.view()), (Rows{ { 3, 6 }, { 2, 5 }, { 1, 4 } }));
}

void PictureFiltersTest::keepsTheSizeOf_data()
{
    QTest::addColumn<QSize>("size");

    for (const QSize size : { QSize(1, 1), QSize(2, 40), QSize(40, 2), QSize(9, 9) }) {
        QTest::addRow("%d x %d", size.width(), size.height()) << size;
    }
}

void PictureFiltersTest::keepsTheSizeOf()
{
    QFETCH(QSize, size);
    PictureBuffer from;
    from.resize(size.width(), size.height());
    for (int y = 0; y < size.height(); ++y) {
        std::fill_n(from.row(y), size.width(), uchar(100));
    }
    const auto threshold = [](const PictureView& view, PictureBuffer& to) {
        filters::thresholdLocally(view, 16, to);
    };
    const auto sharpen
        = [](const PictureView& view, PictureBuffer& to) { filters::sharpen(view, 8, to); };
    const QList<Filter> all{ filters::invert, filters::blur, sharpen, threshold, filters::equalise,
        filters::darken, filters::lighten, filters::findEdges, filters::mirror };

    for (const Filter& filter : all) {
        PictureBuffer to;
        filter(from.view(), to);
        QCOMPARE(QSize(to.view().width, to.view().height), size);
        const Rows rows = rowsOf(to.view());
        QVERIFY2(rows == Rows(size.height(), QList<int>(size.width(), rows.at(0).at(0))),
            "an even picture became uneven");
    }
}

VELLUMCAP_TEST(PictureFiltersTest)
#include "tst_picturefilters.moc"
