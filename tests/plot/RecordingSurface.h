// A drawing surface that keeps what was asked of it.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "plot/DrawingSurface.h"

namespace vorela::test {

class RecordingSurface final : public DrawingSurface {
  public:
    struct Operation {
        enum class Kind { line, polyline, text, fill } kind;
        int pen;  ///< number of the selected pen in order of creation, from 1
        std::vector<DevicePoint> points;
        std::string text;
        TextAlignment alignment;
    };
    using Operations = std::vector<Operation>;

    explicit RecordingSurface(PictureSize size) : size_(size) {}

    bool Begin() override { return ready; }
    void End() override {}
    PictureSize Size() const override { return size_; }
    double PixelsPerUnit() const override { return 1; }
    DrawingObject CreatePen(const PenDescription& pen) override {
        pens.push_back(pen);
        return static_cast<DrawingObject>(pens.size());
    }
    DrawingObject CreateBrush(Colour colour) override {
        brushes.push_back(colour);
        return firstOther + static_cast<DrawingObject>(brushes.size());
    }
    DrawingObject CreateFont(const FontDescription& font) override {
        fonts.push_back(font);
        return 2 * firstOther;
    }
    DrawingObject GetStockObject(StockObject) override { return stock; }
    void SelectObject(DrawingObject object) override {
        if (object < firstOther)
            pen_ = object;
        lastSelected = object;
    }
    void DeleteObject(DrawingObject) override { ++deleted; }
    void MoveTo(DevicePoint point) override { position_ = point; }
    void LineTo(DevicePoint point) override {
        Add(Operation::Kind::line, {position_, point});
        position_ = point;
    }
    void Polyline(std::span<const DevicePoint> points) override {
        Add(Operation::Kind::polyline, {points.begin(), points.end()});
    }
    void SetSmooth(bool) override {}
    void Fill(const DeviceBox& box, Colour) override {
        Add(Operation::Kind::fill, {{box.left, box.top}, {box.right, box.bottom}});
    }
    void Tint(std::span<const DevicePoint>, Colour) override {}
    void SetTextColour(Colour) override {}
    void SetTextAlign(TextAlignment alignment) override { alignment_ = alignment; }
    void TextOut(DevicePoint point, const std::string& text) override {
        Add(Operation::Kind::text, {point}, text);
    }
    double TextWidth(const std::string& text) override { return 7.0 * static_cast<double>(text.size()); }

    /// The texts written, in order.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Operation& operation : operations)
            if (operation.kind == Operation::Kind::text)
                texts.push_back(operation.text);
        return texts;
    }
    const Operation* FindText(const std::string& text) const {
        const auto found = std::ranges::find(operations, text, &Operation::text);
        return found == operations.end() ? nullptr : &*found;
    }
    Operations DrawnWith(int pen) const {
        Operations drawn;
        std::ranges::copy_if(operations, std::back_inserter(drawn), [&](const Operation& operation) {
            return operation.pen == pen && operation.kind < Operation::Kind::text;
        });
        return drawn;
    }

    /// Pens are numbered below it, all other objects above.
    static constexpr DrawingObject firstOther = 100;
    static constexpr DrawingObject stock = 1000;
    bool ready = true;
    Operations operations;
    std::vector<PenDescription> pens;
    std::vector<Colour> brushes;
    std::vector<FontDescription> fonts;
    DrawingObject lastSelected = 0;
    int deleted = 0;

  private:
    void Add(Operation::Kind kind, std::vector<DevicePoint> points, const std::string& text = "") {
        operations.push_back({kind, pen_, std::move(points), text, alignment_});
    }

    PictureSize size_;
    int pen_ = 0;
    DevicePoint position_;
    TextAlignment alignment_ = TextAlignment::topLeft;
};

}  // namespace vorela::test
