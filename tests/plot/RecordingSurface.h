// A drawing surface that keeps what was asked of it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "plot/DrawingSurface.h"

namespace vorela::test {

class RecordingSurface final : public DrawingSurface {
  public:
    struct Operation {
        enum class Kind { line, polyline, text } kind;
        int pen;  ///< number of the selected pen in order of creation, from 1
        std::vector<DevicePoint> points;
        std::string text;
        TextAlignment alignment;
    };
    static constexpr double characterWidth = 7;

    explicit RecordingSurface(PictureSize size) : size_(size) {}

    bool Begin() override { return ready; }
    void End() override {}
    PictureSize Size() const override { return size_; }
    double PixelsPerUnit() const override { return 1; }
    DrawingObject CreatePen(const PenDescription& pen) override {
        pens.push_back(pen);
        penOf_[++last_] = static_cast<int>(pens.size());
        return last_;
    }
    DrawingObject CreateBrush(Colour colour) override {
        brushes.push_back(colour);
        return ++last_;
    }
    DrawingObject CreateFont(const FontDescription& font) override {
        fonts.push_back(font);
        return ++last_;
    }
    DrawingObject GetStockObject(StockObject) override { return stock; }
    void SelectObject(DrawingObject object) override {
        if (penOf_.count(object) != 0)
            pen_ = penOf_[object];
        lastSelected = object;
    }
    void DeleteObject(DrawingObject) override { ++deleted; }
    void MoveTo(DevicePoint point) override { position_ = point; }
    void LineTo(DevicePoint point) override {
        operations.push_back({Operation::Kind::line, pen_, {position_, point}, "", alignment_});
        position_ = point;
    }
    void Polyline(std::span<const DevicePoint> points) override {
        operations.push_back(
            {Operation::Kind::polyline, pen_, {points.begin(), points.end()}, "", alignment_});
    }
    void SetSmooth(bool) override {}
    void SetTextAlign(TextAlignment alignment) override { alignment_ = alignment; }
    void TextOut(DevicePoint point, const std::string& text) override {
        operations.push_back({Operation::Kind::text, pen_, {point}, text, alignment_});
    }
    double TextWidth(const std::string& text) override {
        return characterWidth * static_cast<double>(text.size());
    }

    /// The texts written, in order.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Operation& operation : operations)
            if (operation.kind == Operation::Kind::text)
                texts.push_back(operation.text);
        return texts;
    }
    const Operation* FindText(const std::string& text) const {
        for (const Operation& operation : operations)
            if (operation.kind == Operation::Kind::text && operation.text == text)
                return &operation;
        return nullptr;
    }
    std::vector<Operation> DrawnWith(int pen) const {
        std::vector<Operation> drawn;
        for (const Operation& operation : operations)
            if (operation.pen == pen && operation.kind != Operation::Kind::text)
                drawn.push_back(operation);
        return drawn;
    }

    static constexpr DrawingObject stock = 1000;
    bool ready = true;
    std::vector<Operation> operations;
    std::vector<PenDescription> pens;
    std::vector<Colour> brushes;
    std::vector<FontDescription> fonts;
    DrawingObject lastSelected = 0;
    int deleted = 0;

  private:
    PictureSize size_;
    std::map<DrawingObject, int> penOf_;
    DrawingObject last_ = 0;
    int pen_ = 0;
    DevicePoint position_;
    TextAlignment alignment_ = TextAlignment::topLeft;
};

}  // namespace vorela::test
