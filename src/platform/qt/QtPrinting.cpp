// Printers of the desktop, and paper that is a PDF file.

#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <memory>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtPainting.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

constexpr int FILE_DPI = 600;

struct Printing {
    std::unique_ptr<QPrinter> printer;
    std::unique_ptr<QPainter> painter;  // while a document is open
    QtSurface surface;
    DrawTarget target;
    int pages = 0;  // begun
    bool inPage = false;
    bool failed = false;
};
Printing printing;

void DropDocument() {
    printing.painter.reset();
    printing.pages = 0;
    printing.inPage = printing.failed = false;
}

void Release() {
    DropDocument();
    printing.printer.reset();
}

bool Hold(std::unique_ptr<QPrinter> printer) {
    Release();
    if (!printer->isValid()) return false;
    printing.printer = std::move(printer);
    return true;
}

bool Choose(PrintRequest& request) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    QPrintDialog dialog(printer.get(), DialogParent());
    dialog.setOption(QAbstractPrintDialog::PrintSelection, request.allowSelection);
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
    dialog.setOption(QAbstractPrintDialog::PrintCurrentPage, false);
    if (request.allowSelection && request.range == PRINT_SELECTION)
        dialog.setPrintRange(QAbstractPrintDialog::Selection);
    if (dialog.exec() != QDialog::Accepted) return false;
    request.range = request.allowSelection && dialog.printRange() == QAbstractPrintDialog::Selection
                        ? PRINT_SELECTION
                        : PRINT_ALL;
    request.copies = printer->supportsMultipleCopies() ? 1 : std::max(1, printer->copyCount());
    return Hold(std::move(printer));
}

bool ChooseFile(WideView path) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(ToQString(path));
    printer->setResolution(FILE_DPI);
    printer->setPageSize(QPageSize(QPageSize::A4));
    return Hold(std::move(printer));
}

bool Capabilities(PrinterCapabilities& out) {
    out = PrinterCapabilities();
    if (!printing.printer) return false;
    const QPrinter& printer = *printing.printer;
    const QRectF paper = printer.paperRect(QPrinter::DevicePixel),
                 page = printer.pageRect(QPrinter::DevicePixel);
    out.dpiX = printer.logicalDpiX();
    out.dpiY = printer.logicalDpiY();
    out.paperWidth = static_cast<i32>(paper.width());
    out.paperHeight = static_cast<i32>(paper.height());
    out.offsetX = static_cast<i32>(page.left() - paper.left());
    out.offsetY = static_cast<i32>(page.top() - paper.top());
    out.printableWidth = static_cast<i32>(page.width());
    out.printableHeight = static_cast<i32>(page.height());
    return true;
}

// The painter begins when the document does; each later page is a new one of the same painter.
bool BeginDocument(WideView name) {
    if (!printing.printer || printing.painter) return false;
    printing.printer->setDocName(ToQString(name));
    auto painter = std::make_unique<QPainter>();
    if (!painter->begin(printing.printer.get())) return false;
    painter->setRenderHint(QPainter::LosslessImageRendering);
    printing.painter = std::move(painter);
    return true;
}

DrawTarget* BeginPage() {
    PrinterCapabilities capabilities;
    if (!printing.painter || printing.inPage || printing.failed || !Capabilities(capabilities)) return nullptr;
    if (printing.pages && !printing.printer->newPage()) {
        printing.failed = true;
        return nullptr;
    }
    ++printing.pages;
    printing.inPage = true;
    printing.target = MakePaintTarget(printing.surface, *printing.painter,
                                      {0, 0, capabilities.printableWidth, capabilities.printableHeight}, true);
    printing.target.width = capabilities.printableWidth;
    printing.target.height = capabilities.printableHeight;
    return &printing.target;
}

bool EndPage() {
    if (!printing.inPage) return false;
    printing.inPage = false;
    return printing.printer->printerState() != QPrinter::Error;
}

bool EndDocument() {
    if (!printing.painter || printing.inPage) return false;
    const bool good =
        printing.painter->end() && !printing.failed && printing.printer->printerState() != QPrinter::Error;
    DropDocument();
    return good;
}

void AbortDocument() {
    if (!printing.painter) return;
    printing.printer->abort();
    DropDocument();
}

constexpr PrinterTable table = {
    .choose = Choose,
    .chooseFile = ChooseFile,
    .capabilities = Capabilities,
    .beginDocument = BeginDocument,
    .beginPage = BeginPage,
    .endPage = EndPage,
    .endDocument = EndDocument,
    .abortDocument = AbortDocument,
    .release = Release,
};

}  // namespace

const PrinterTable& QtPrinting() { return table; }

}  // namespace tally
