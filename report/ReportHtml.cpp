#include "report/ReportHtml.h"

namespace vorela {
namespace {

// Pictures are drawn on white: in the dark they keep a ground of their own.
constexpr const char* style = R"(
:root { color-scheme: light dark; --ink: #1c1c1c; --paper: #ffffff; --faint: #5a5a5a; --rule: #c4c4c4;
  --head: #eeeeea; --mark: #8a4b00; --link: #0b4f9e; }
@media (prefers-color-scheme: dark) { :root { --ink: #e6e6e6; --paper: #191a1c; --faint: #a8a8a8; --rule: #4a4c50;
  --head: #2a2c30; --mark: #f0b060; --link: #8ab8f0; } }
body { color: var(--ink); background: var(--paper); font: 15px/1.4 "Liberation Sans", Arial, Helvetica, sans-serif;
  margin: 0 auto; padding: 20px 24px; max-width: 1180px; }
h1 { font-size: 26px; margin: 0 0 4px; } h2 { font-size: 21px; margin: 36px 0 8px; border-bottom: 2px solid var(--rule); }
h3 { font-size: 17px; margin: 24px 0 6px; } p { margin: 8px 0; max-width: 80ch; }
.made, caption, figcaption { color: var(--faint); } a { color: var(--link); }
nav ul { columns: 3; list-style: none; padding: 0; font-size: 14px; } nav li li { margin-left: 14px; }
nav ul ul { columns: auto; } nav > ul > li { break-inside: avoid; }
.wide { overflow-x: auto; } table { border-collapse: collapse; margin: 10px 0; font-size: 14px; }
caption { text-align: left; font-weight: bold; padding: 2px 0 4px; }
th, td { border: 1px solid var(--rule); padding: 3px 8px; text-align: left; vertical-align: top; }
thead th { background: var(--head); } tbody th { font-weight: normal; color: var(--faint); }
.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; } .d { color: var(--mark); font-weight: bold; }
thead th.n { white-space: normal; vertical-align: bottom; } thead + tbody th { white-space: nowrap; }
figure { margin: 12px 0; } figure img { width: 100%; max-width: 1000px; height: auto; background: #ffffff; }
@page { size: A4; margin: 15mm; }
@media print { :root { --ink: #000; --paper: #fff; --faint: #444; --rule: #aaa; --head: #eee; --mark: #000; --link: #000; }
  body { font-size: 10pt; max-width: none; padding: 0; } table { font-size: 7pt; } th, td { padding: 1px 3px; }
  figure img { width: auto; max-width: 100%; max-height: 100mm; }
  nav { display: none; } .new { break-before: page; } h2, h3, caption { break-after: avoid; }
  tr, figure { break-inside: avoid; } thead { display: table-header-group; } .wide { overflow: visible; } }
)";

/// Text between tags and in attributes; what no document may hold is shown as the replacement character.
std::string Escaped(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            default:
                if (static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t')
                    safe += "&#xFFFD;";
                else
                    safe += c;
        }
    }
    return safe;
}

class HtmlWriter {
  public:
    HtmlWriter(const Report& report, const std::vector<DrawnPicture>& pictures)
        : report_(report), pictures_(pictures) {}

    std::string Page() {
        html_ =
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
            "content=\"width=device-width, initial-scale=1\">\n<meta name=\"generator\" content=\"" +
            Escaped(report_.program) + "\">\n<title>" + Escaped(report_.title) + "</title>\n<style>" + style +
            "</style>\n</head>\n<body>\n<header><h1>" + Escaped(report_.title) + "</h1>\n<p class=\"made\">" +
            Escaped(report_.created) + ", " + Escaped(report_.program) + "</p></header>\n";
        for (std::size_t i = 0; i < report_.sections.size(); ++i) {
            Section(i);
            if (i == 0)
                Contents();
        }
        return std::move(html_) + "</body>\n</html>\n";
    }

  private:
    static std::string Anchor(std::size_t section) { return "s" + std::to_string(section + 1); }

    void Contents() {
        html_ += "<nav aria-label=\"Contents\"><h2>Contents</h2>\n<ul>\n";
        bool inParts = false;
        for (std::size_t i = 0; i < report_.sections.size(); ++i) {
            const ReportSection& section = report_.sections[i];
            const bool part = section.level > 1;
            if (i > 0)
                html_ += part == inParts ? "</li>\n" : part ? "<ul>\n" : "</li></ul></li>\n";
            inParts = part;
            html_ += "<li><a href=\"#" + Anchor(i) + "\">" + Escaped(section.heading) + "</a>";
        }
        html_ += inParts ? "</li></ul></li>\n</ul></nav>\n" : "</li>\n</ul></nav>\n";
    }

    void Section(std::size_t index) {
        const ReportSection& section = report_.sections[index];
        const std::string tag = section.level > 1 ? "h3" : "h2";
        html_ += "<" + tag + " id=\"" + Anchor(index) + "\"" + (section.newPage ? " class=\"new\"" : "") +
                 ">" + Escaped(section.heading) + "</" + tag + ">\n";
        for (const ReportBlock& block : section.blocks)
            std::visit([this](const auto& one) { Put(one); }, block);
    }

    void Put(const ReportText& text) { html_ += "<p>" + Escaped(text.text) + "</p>\n"; }

    void Put(const ReportList& list) {
        html_ += "<ul>\n";
        for (const std::string& line : list.lines)
            html_ += "<li>" + Escaped(line) + "</li>\n";
        html_ += "</ul>\n";
    }

    void Put(const ReportTable& table) {
        html_ += "<div class=\"wide\"><table>";
        if (!table.caption.empty())
            html_ += "<caption>" + Escaped(table.caption) + "</caption>";
        html_ += "\n";
        const std::size_t firstRow = table.facts ? 0 : 1;
        if (!table.facts) {
            html_ += "<thead><tr>";
            for (std::size_t column = 0; column < table.rows.front().size(); ++column)
                html_ += std::string("<th scope=\"col\"") +
                         (IsNumberColumn(table, column) ? " class=\"n\">" : ">") +
                         Escaped(table.rows.front()[column]) + "</th>";
            html_ += "</tr></thead>\n";
        }
        html_ += "<tbody>\n";
        for (std::size_t row = firstRow; row < table.rows.size(); ++row)
            Row(table, row);
        html_ += "</tbody></table></div>\n";
    }

    void Row(const ReportTable& table, std::size_t row) {
        html_ += "<tr>";
        const std::vector<std::string>& cells = table.rows[row];
        for (std::size_t column = 0; column < cells.size(); ++column) {
            if (column == 0) {
                html_ += "<th scope=\"row\">" + Escaped(cells[column]) + "</th>";
                continue;
            }
            std::string classes = IsNumberColumn(table, column) ? "n" : "";
            if (IsMarkedDefault(cells[column]))
                classes += classes.empty() ? "d" : " d";
            html_ += "<td" + (classes.empty() ? "" : " class=\"" + classes + "\"") + ">" +
                     Escaped(cells[column]) + "</td>";
        }
        html_ += "</tr>\n";
    }

    void Put(const ReportPicture& picture) {
        const DrawnPicture drawn = next_ < pictures_.size() ? pictures_[next_] : DrawnPicture{};
        ++next_;
        html_ += "<figure>";
        if (!drawn.data.empty())
            html_ += "<img width=\"" + std::to_string(picture.width) + "\" height=\"" +
                     std::to_string(picture.height) + "\" alt=\"" + Escaped(picture.caption) + "\" src=\"" +
                     drawn.data + "\">";
        html_ += "<figcaption>" + Escaped(picture.caption) +
                 (drawn.data.empty() ? ": nothing could be drawn" : "") + "</figcaption></figure>\n";
        if (!drawn.remarks.empty())
            Put(ReportList{drawn.remarks});
    }

    const Report& report_;
    const std::vector<DrawnPicture>& pictures_;
    std::size_t next_ = 0;
    std::string html_;
};

}  // namespace

std::string ReportHtml(const Report& report, const std::vector<DrawnPicture>& pictures) {
    return HtmlWriter(report, pictures).Page();
}

}  // namespace vorela
