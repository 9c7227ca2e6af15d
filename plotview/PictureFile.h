// Anything that draws on a drawing surface as a file: PNG, SVG or PDF by the file's ending. A QGuiApplication
// must exist (offscreen serves).
#pragma once

#include <functional>
#include <string>

#include "plot/DrawingSurface.h"

class QImage;
class QPrinter;

namespace vorela {

struct PictureFileOptions {
    int width = 1200;  ///< of the drawing, in units of 1/96 inch
    int height = 800;
    int resolution = 96;  ///< dots per inch: a PNG has width × resolution / 96 pixels
    std::string title = "Vorela plot";
};

/// Draws between its own Begin and End; false when nothing was drawn, after it has said why.
using PictureDrawing = std::function<bool(DrawingSurface&)>;

/// The name ends as a picture's does, whatever else was chosen beside it.
bool IsPictureName(const std::string& path);

/// The format follows from the ending, .png, .svg or .pdf in any case. The file appears complete or not at
/// all. Throws for an ending or a size that cannot be and for a file that cannot be written.
bool WritePicture(const std::string& path, const PictureFileOptions& options, const PictureDrawing& draw);

/// The picture in memory, of 32-bit opaque pixels. A null image when nothing was drawn.
QImage PictureImage(const PictureFileOptions& options, const PictureDrawing& draw);

/// On one page of a prepared printer, at the page's size.
bool PrintPicture(QPrinter& printer, const PictureDrawing& draw);

/// A picture that has a size; throws otherwise.
void CheckPictureOptions(const PictureFileOptions& options);

}  // namespace vorela
