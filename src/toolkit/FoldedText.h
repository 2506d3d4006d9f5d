#pragma once

// A long end of a text that a field holds as one character: shown as its length, undone, deleted and copied as a whole,
// and unfolded whenever the text is asked for. So a megabyte is kept without being laid out. Main thread.

#include <QTextObjectInterface>

class QTextCursor;

namespace zun {

class FoldedText final : public QObject, public QTextObjectInterface {
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)
  public:
    // Lets the document show folded texts; owned by it.
    static void install(QTextDocument& document);
    static void insert(QTextCursor cursor, const QString& text);
    // The document's text between two positions, folded texts unfolded, line feeds between paragraphs.
    [[nodiscard]] static QString unfolded(const QTextDocument& document, int start, int end);

    [[nodiscard]] QSizeF intrinsicSize(QTextDocument* document, int position, const QTextFormat& format) override;
    void drawObject(QPainter* painter, const QRectF& rect, QTextDocument* document, int position,
                    const QTextFormat& format) override;

  private:
    using QObject::QObject;
};

}  // namespace zun
