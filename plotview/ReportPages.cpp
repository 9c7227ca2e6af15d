#include "plotview/ReportPages.h"

#include <QBuffer>
#include <QFont>
#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "general/RunTimeError.h"
#include "plotview/PainterSurface.h"
#include "plotview/PdfOutline.h"

namespace vorela {
namespace {

// All lengths are twips (1/20 of a point), so that sizes of fonts are whole and their metrics fine.
constexpr double twipsPerPoint = 20;
constexpr double twipsPerInch = 1440;
constexpr int pdfResolution = 1200;
constexpr double pageWidth = 11906, pageHeight = 16838;  // A4
constexpr double margin = 850;
constexpr double left = margin, textWidth = pageWidth - 2 * margin;
constexpr double top = 1000, bottom = pageHeight - 1000;
constexpr double footBaseline = pageHeight - 560;

constexpr double titleSize = 20, sectionSize = 15, partSize = 12, bodySize = 9.5;  // points
constexpr double tableSize = 8, smallestTableSize = 6;
constexpr double gap = 110;               // between blocks
constexpr double cellX = 60, cellY = 24;  // inside a cell, to each side
constexpr double ruleWidth = 8;
constexpr double pictureFineness = 2;  // of curves, device pixels for each unit

const QColor ink(28, 28, 28), faint(90, 90, 90), rule(190, 190, 190), headGround(238, 238, 234),
    markInk(138, 75, 0);

QString ToText(const std::string& text) {
    return QString::fromStdString(text);
}

QFont FontOf(double points, bool bold = false) {
    QFont font(QStringLiteral("Liberation Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setPixelSize(static_cast<int>(std::lround(points * twipsPerPoint)));
    font.setBold(bold);
    return font;
}

/// Text broken into lines, within words where one is too long.
std::vector<QString> LinesOf(const QString& text, const QFont& font, double width) {
    std::vector<QString> lines;
    for (const QString& paragraph : text.split(QLatin1Char('\n'))) {
        QTextLayout layout(paragraph, font);
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(std::max(width, 1.0));
            lines.push_back(paragraph.mid(line.textStart(), line.textLength()).trimmed());
        }
        layout.endLayout();
    }
    return lines;
}

double WidthOf(const QString& text, const QFont& font) {
    return QFontMetricsF(font).horizontalAdvance(text);
}

double LineHeight(const QFont& font) {
    return QFontMetricsF(font).height() * 1.05;
}

double LongestWord(const QString& text, const QFont& font) {
    double longest = 0;
    for (const QString& word : text.split(QLatin1Char(' ')))
        longest = std::max(longest, WidthOf(word, font));
    return longest;
}

using Paint = std::function<void(QPainter&)>;

struct Page {
    std::vector<Paint> items;
};

/// Font size and column widths with which a table fits the page.
struct TableShape {
    QFont font, bold;
    std::vector<double> widths;  ///< with the space inside the cells
    std::vector<bool> toTheRight;
};

/// Puts the blocks of a report one below the other onto pages.
class PageSetter {
  public:
    PageSetter(const Report& report, const std::vector<DrawnPicture>& drawn, const ExactResults& exact)
        : report_(report), drawn_(drawn), exact_(exact) {}

    void Set() {
        NewPage();
        Lines(LinesOf(ToText(report_.title), FontOf(titleSize, true), textWidth), FontOf(titleSize, true),
              ink);
        y_ += gap;
        for (std::size_t i = 0; i < report_.sections.size(); ++i)
            Section(report_.sections[i], i == 0);
        for (std::size_t i = 0; i < pages_.size(); ++i)
            Foot(i);
    }

    const std::vector<Page>& Pages() const { return pages_; }
    const std::vector<PdfBookmark>& Bookmarks() const { return bookmarks_; }

  private:
    // --- Pages ---

    void NewPage() {
        pages_.emplace_back();
        y_ = top;
    }
    bool AtTop() const { return y_ <= top; }
    double Left() const { return bottom - y_; }
    /// Goes on on the next page unless so much is left on this one.
    void Need(double height) {
        if (height > Left() && !AtTop())
            NewPage();
    }
    void Put(Paint paint) { pages_.back().items.push_back(std::move(paint)); }

    void PutText(double x, double baseline, const QString& text, const QFont& font, const QColor& colour) {
        Put([=](QPainter& painter) {
            painter.setFont(font);
            painter.setPen(colour);
            painter.drawText(QPointF(x, baseline), text);
        });
    }
    void PutRule(double x1, double x2, double y) {
        Put([=](QPainter& painter) { painter.fillRect(QRectF(x1, y, x2 - x1, ruleWidth), rule); });
    }

    void Foot(std::size_t page) {
        const QFont font = FontOf(tableSize);
        const QString number =
            QStringLiteral("Page %1 of %2").arg(page + 1).arg(static_cast<qulonglong>(pages_.size()));
        const QString made = ToText(report_.program + ", " + report_.created);
        const double room = textWidth - WidthOf(number, font) - WidthOf(made, font) - 4 * cellX;
        const QString title = QFontMetricsF(font).elidedText(ToText(report_.title), Qt::ElideMiddle, room);
        std::vector<Paint>& items = pages_[page].items;
        items.push_back([=](QPainter& painter) {
            painter.setFont(font);
            painter.setPen(faint);
            painter.fillRect(QRectF(left, footBaseline - 240, textWidth, ruleWidth), rule);
            painter.drawText(QPointF(left, footBaseline), title);
            painter.drawText(QPointF(left + (textWidth - WidthOf(made, font)) / 2, footBaseline), made);
            painter.drawText(QPointF(left + textWidth - WidthOf(number, font), footBaseline), number);
        });
    }

    // --- Text ---

    void Lines(const std::vector<QString>& lines, const QFont& font, const QColor& colour,
               double indent = 0) {
        const double height = LineHeight(font);
        for (const QString& line : lines) {
            Need(height);
            PutText(left + indent, y_ + QFontMetricsF(font).ascent(), line, font, colour);
            y_ += height;
        }
    }

    void Section(const ReportSection& section, bool first) {
        const bool part = section.level > 1;
        const QFont font = FontOf(part ? partSize : sectionSize, true);
        if (section.newPage && !AtTop() && !first)
            NewPage();
        Need(KeptWithHeading(section, LineHeight(font)));
        if (!AtTop())
            y_ += gap;
        bookmarks_.push_back({section.heading, section.level, pages_.size() - 1, y_ / twipsPerPoint});
        Lines(LinesOf(ToText(section.heading), font, textWidth), font, ink);
        if (!part) {
            PutRule(left, left + textWidth, y_ + 20);
            y_ += 30;
        }
        y_ += gap / 2;
        for (const ReportBlock& block : section.blocks)
            std::visit([this](const auto& one) { Block(one); }, block);
    }

    /// A heading is not left alone at the foot of a page.
    double KeptWithHeading(const ReportSection& section, double heading) const {
        constexpr double someLines = 1400;
        const auto* picture =
            section.blocks.empty() ? nullptr : std::get_if<ReportPicture>(&section.blocks.front());
        const auto* table =
            section.blocks.empty() ? nullptr : std::get_if<ReportTable>(&section.blocks.front());
        const double following = picture != nullptr ? PictureHeight(*picture, HeightOnPage(*picture))
                                 : table != nullptr ? KeptTogether(*table, ShapeOf(*table))
                                                    : someLines;
        return heading + 2 * gap + following;
    }

    void Block(const ReportText& text) {
        const QFont font = FontOf(bodySize);
        Lines(LinesOf(ToText(text.text), font, textWidth), font, ink);
        y_ += gap;
    }

    void Block(const ReportList& list) {
        constexpr double indent = 240;
        const QFont font = FontOf(bodySize);
        for (const std::string& line : list.lines) {
            Need(LineHeight(font));
            PutText(left, y_ + QFontMetricsF(font).ascent(), QStringLiteral("\u2022"), font, ink);
            Lines(LinesOf(ToText(line), font, textWidth - indent), font, ink, indent);
            y_ += gap / 4;
        }
        y_ += gap;
    }

    // --- Tables ---

    static bool IsHeader(const ReportTable& table, std::size_t row) { return row == 0 && !table.facts; }

    static std::vector<double> NaturalWidths(const ReportTable& table, const QFont& font, const QFont& bold) {
        std::vector<double> widths;
        for (std::size_t row = 0; row < table.rows.size(); ++row) {
            widths.resize(std::max(widths.size(), table.rows[row].size()));
            for (std::size_t column = 0; column < table.rows[row].size(); ++column) {
                const QString text = ToText(table.rows[row][column]);
                widths[column] = std::max(
                    widths[column], IsHeader(table, row) ? LongestWord(text, bold) : WidthOf(text, font));
            }
        }
        for (double& width : widths)
            width += 2 * cellX;
        return widths;
    }

    static double Sum(const std::vector<double>& widths) {
        return std::accumulate(widths.begin(), widths.end(), 0.0);
    }

    /// Columns of words give way until the table fits.
    static void Narrow(const ReportTable& table, std::vector<double>& widths) {
        constexpr double narrowest = 900;
        while (Sum(widths) > textWidth) {
            std::size_t widest = 0;
            double most = 0;
            for (std::size_t column = 0; column < widths.size(); ++column)
                if (!IsNumberColumn(table, column) && widths[column] > most) {
                    most = widths[column];
                    widest = column;
                }
            if (most <= narrowest) {
                const double share = textWidth / Sum(widths);
                for (double& width : widths)
                    width *= share;
                return;
            }
            widths[widest] = std::max(narrowest, widths[widest] - std::max(20.0, Sum(widths) - textWidth));
        }
    }

    static TableShape ShapeOf(const ReportTable& table) {
        TableShape shape;
        double size = tableSize;
        for (;; size -= 0.5) {
            shape.font = FontOf(size);
            shape.bold = FontOf(size, true);
            shape.widths = NaturalWidths(table, shape.font, shape.bold);
            if (Sum(shape.widths) <= textWidth || size <= smallestTableSize || HasWords(table))
                break;
        }
        if (Sum(shape.widths) > textWidth)
            Narrow(table, shape.widths);
        for (std::size_t column = 0; column < shape.widths.size(); ++column)
            shape.toTheRight.push_back(IsNumberColumn(table, column));
        return shape;
    }

    /// Cells that are sentences are broken rather than made small.
    static bool HasWords(const ReportTable& table) {
        constexpr std::size_t sentence = 40;
        for (const auto& row : table.rows)
            for (const std::string& cell : row)
                if (cell.size() > sentence)
                    return true;
        return false;
    }

    void Block(const ReportTable& table) {
        if (table.rows.size() < (table.facts ? 1U : 2U))
            return;
        const TableShape shape = ShapeOf(table);
        const QFont caption = FontOf(bodySize, true);
        const double head = table.caption.empty() ? 0 : LineHeight(caption) + cellY;
        Need(head + KeptTogether(table, shape));
        if (!table.caption.empty()) {
            Lines({ToText(table.caption)}, caption, faint);
            y_ += cellY;
        }
        PutRule(left, left + Sum(shape.widths), y_);
        for (std::size_t row = 0; row < table.rows.size(); ++row)
            Row(table, row, shape);
        y_ += gap;
    }

    /// A short table is not broken; of a long one, whose header is repeated, the first rows stay together.
    static double KeptTogether(const ReportTable& table, const TableShape& shape) {
        const double longest = (bottom - top) * (table.facts ? 0.4 : 0.2);
        constexpr std::size_t firstRows = 3;
        double height = 0, first = 0;
        for (std::size_t row = 0; row < table.rows.size() && height <= longest; ++row) {
            height += BreakRow(table, row, shape).height;
            first = row < firstRows ? height : first;
        }
        return height <= longest ? height : first;
    }

    struct SetRow {
        std::vector<std::vector<QString>> cells;
        double height = 0;
    };

    static SetRow BreakRow(const ReportTable& table, std::size_t row, const TableShape& shape) {
        SetRow set;
        const QFont& font = IsHeader(table, row) ? shape.bold : shape.font;
        std::size_t lines = 1;
        for (std::size_t column = 0; column < table.rows[row].size(); ++column) {
            set.cells.push_back(
                LinesOf(ToText(table.rows[row][column]), font, shape.widths[column] - 2 * cellX + 1));
            lines = std::max(lines, set.cells.back().size());
        }
        set.height = static_cast<double>(lines) * LineHeight(font) + 2 * cellY;
        return set;
    }

    void Row(const ReportTable& table, std::size_t row, const TableShape& shape) {
        const SetRow set = BreakRow(table, row, shape);
        if (set.height > Left() && !AtTop()) {
            NewPage();
            PutRule(left, left + Sum(shape.widths), y_);
            if (!table.facts && row > 0)
                PutRow(table, 0, shape, BreakRow(table, 0, shape));
        }
        PutRow(table, row, shape, set);
    }

    void PutRow(const ReportTable& table, std::size_t row, const TableShape& shape, const SetRow& set) {
        const bool header = IsHeader(table, row);
        const QFont& font = header ? shape.bold : shape.font;
        if (header)
            Put([box = QRectF(left, y_, Sum(shape.widths), set.height)](QPainter& painter) {
                painter.fillRect(box, headGround);
            });
        double x = left;
        for (std::size_t column = 0; column < set.cells.size(); ++column) {
            const bool caption = column == 0 && table.facts;
            const bool marked = !header && IsMarkedDefault(table.rows[row][column]);
            double baseline = y_ + cellY + QFontMetricsF(font).ascent();
            for (const QString& line : set.cells[column]) {
                const double spare = shape.widths[column] - 2 * cellX - WidthOf(line, font);
                PutText(x + cellX + (shape.toTheRight[column] ? spare : 0), baseline, line,
                        marked ? shape.bold : font,
                        caption  ? faint
                        : marked ? markInk
                                 : ink);
                baseline += LineHeight(font);
            }
            x += shape.widths[column];
        }
        y_ += set.height;
        PutRule(left, x, y_);
    }

    // --- Pictures ---

    /// Twips for each unit of a picture that is made as wide as the text.
    static double ScaleOf(const ReportPicture& picture) { return textWidth / picture.width; }

    static double CaptionHeight() { return LineHeight(FontOf(bodySize)); }

    static double PictureHeight(const ReportPicture& picture, int height) {
        return height * ScaleOf(picture) + CaptionHeight();
    }

    /// In units: the whole height, or what the page leaves where the picture can do with that.
    int HeightOnPage(const ReportPicture& picture) const {
        if (picture.leastHeight == 0)
            return picture.height;
        const int rest = static_cast<int>((Left() - CaptionHeight()) / ScaleOf(picture));
        return rest < picture.leastHeight ? picture.height : std::min(rest, picture.height);
    }

    void Block(const ReportPicture& picture) {
        const DrawnPicture& drawn = drawn_.at(nextPicture_++);
        if (drawn.data.empty()) {
            Block(ReportText{picture.caption + ": nothing could be drawn"});
        } else {
            Need(PictureHeight(picture, HeightOnPage(picture)));
            ReportPicture fitting = picture;
            fitting.height = HeightOnPage(picture);
            PutPicture(fitting);
            Lines({ToText(picture.caption)}, FontOf(bodySize), faint);
            y_ += gap;
        }
        if (!drawn.remarks.empty())
            Block(ReportList{drawn.remarks});
    }

    void PutPicture(const ReportPicture& picture) {
        const double scale = ScaleOf(picture);
        Put([=, y = y_, this](QPainter& painter) {
            painter.save();
            painter.translate(left, y);
            painter.scale(scale, scale);
            PainterSurface::Target target;
            target.painter = &painter;
            target.size = {static_cast<double>(picture.width), static_cast<double>(picture.height)};
            target.pixelsPerUnit = pictureFineness;
            target.isVector = true;
            PainterSurface surface(target);
            std::vector<std::string> saidBefore;
            DrawReportPicture(surface, picture, exact_, saidBefore);
            painter.restore();
        });
        y_ += picture.height * scale;
    }

    const Report& report_;
    const std::vector<DrawnPicture>& drawn_;
    const ExactResults& exact_;
    std::size_t nextPicture_ = 0;
    double y_ = top;
    std::vector<Page> pages_;
    std::vector<PdfBookmark> bookmarks_;
};

void PaintPages(QPdfWriter& writer, const std::vector<Page>& pages) {
    QPainter painter(&writer);
    if (!painter.isActive())
        throw RunTimeError{error_number::deviceIo, "ReportPages", "The pages cannot be painted"};
    painter.scale(pdfResolution / twipsPerInch, pdfResolution / twipsPerInch);
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (i > 0)
            writer.newPage();
        for (const Paint& paint : pages[i].items)
            paint(painter);
    }
}

}  // namespace

std::string ReportPdf(const Report& report, const std::vector<DrawnPicture>& drawn,
                      const ExactResults& exact) {
    PageSetter setter(report, drawn, exact);
    setter.Set();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(pdfResolution);
    writer.setTitle(ToText(report.title));
    writer.setCreator(ToText(report.program));
    writer.setPageLayout(
        QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(), QPageLayout::Point));
    PaintPages(writer, setter.Pages());
    return WithBookmarks(bytes.toStdString(), setter.Bookmarks());
}

}  // namespace vorela
