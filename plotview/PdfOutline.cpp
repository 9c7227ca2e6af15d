#include "plotview/PdfOutline.h"

#define POINTERHOLDER_TRANSITION 4  // the library's own pointers are those of the standard

#include <cstddef>
#include <memory>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr const char* source = "PdfOutline";

/// An entry of the outline with those under it.
struct Node {
    const PdfBookmark* bookmark = nullptr;
    std::vector<Node> under{};
};

std::vector<Node> TreeOf(const std::vector<PdfBookmark>& bookmarks) {
    std::vector<Node> roots;
    for (const PdfBookmark& bookmark : bookmarks)
        (bookmark.level > 1 && !roots.empty() ? roots.back().under : roots).push_back({&bookmark});
    return roots;
}

class OutlineWriter {
  public:
    explicit OutlineWriter(QPDF& document)
        : document_(document), pages_(QPDFPageDocumentHelper(document).getAllPages()) {}

    void Write(const std::vector<PdfBookmark>& bookmarks) {
        QPDFObjectHandle root = NewDictionary();
        root.replaceKey("/Type", QPDFObjectHandle::newName("/Outlines"));
        AddEntries(root, TreeOf(bookmarks), true);
        QPDFObjectHandle catalogue = document_.getRoot();
        catalogue.replaceKey("/Outlines", root);
        catalogue.replaceKey("/PageMode", QPDFObjectHandle::newName("/UseOutlines"));
        catalogue.replaceKey("/Lang", QPDFObjectHandle::newString("en"));
    }

  private:
    QPDFObjectHandle NewDictionary() {
        return document_.makeIndirectObject(QPDFObjectHandle::newDictionary());
    }

    /// A list of entries that know their neighbours; sections open, what is under them closed.
    void AddEntries(QPDFObjectHandle parent, const std::vector<Node>& nodes, bool open) {
        std::vector<QPDFObjectHandle> entries;
        for (const Node& node : nodes) {
            entries.push_back(Entry(node));
            entries.back().replaceKey("/Parent", parent);
            if (!node.under.empty())
                AddEntries(entries.back(), node.under, false);
        }
        if (entries.empty())
            return;
        for (std::size_t i = 1; i < entries.size(); ++i) {
            entries[i].replaceKey("/Prev", entries[i - 1]);
            entries[i - 1].replaceKey("/Next", entries[i]);
        }
        parent.replaceKey("/First", entries.front());
        parent.replaceKey("/Last", entries.back());
        const auto count = static_cast<long long>(entries.size());
        parent.replaceKey("/Count", QPDFObjectHandle::newInteger(open ? count : -count));
    }

    QPDFObjectHandle Entry(const Node& node) {
        const PdfBookmark& bookmark = *node.bookmark;
        if (bookmark.page >= pages_.size())
            throw RunTimeError{error_number::subscriptOutOfRange, source,
                               "bookmark \"" + bookmark.title + "\": the document has no such page"};
        QPDFPageObjectHelper& page = pages_[bookmark.page];
        const QPDFObjectHandle::Rectangle box = page.getMediaBox().getArrayAsRectangle();
        QPDFObjectHandle target = QPDFObjectHandle::newArray();
        target.appendItem(page.getObjectHandle());
        target.appendItem(QPDFObjectHandle::newName("/XYZ"));
        target.appendItem(QPDFObjectHandle::newNull());
        target.appendItem(QPDFObjectHandle::newReal(box.ury - bookmark.top, 1));
        target.appendItem(QPDFObjectHandle::newNull());
        QPDFObjectHandle entry = NewDictionary();
        entry.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(bookmark.title));
        entry.replaceKey("/Dest", target);
        return entry;
    }

    QPDF& document_;
    std::vector<QPDFPageObjectHelper> pages_;
};

}  // namespace

std::string WithBookmarks(const std::string& pdf, const std::vector<PdfBookmark>& bookmarks) {
    try {
        QPDF document;
        document.setSuppressWarnings(true);
        document.processMemoryFile("report", pdf.data(), pdf.size());
        OutlineWriter(document).Write(bookmarks);
        QPDFWriter writer(document);
        writer.setOutputMemory();
        writer.write();
        const std::shared_ptr<Buffer> bytes = writer.getBufferSharedPointer();
        return {reinterpret_cast<const char*>(bytes->getBuffer()), bytes->getSize()};
    } catch (const RunTimeError&) {
        throw;
    } catch (const std::exception& failure) {
        throw RunTimeError{error_number::deviceIo, source,
                           std::string("The bookmarks cannot be written: ") + failure.what()};
    }
}

}  // namespace vorela
