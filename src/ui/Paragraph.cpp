#include "ui/Controls.h"

#include <QLabel>
#include <QStyle>
#include <QTextLayout>

#include <cmath>
#include <utility>

namespace {

/// Text without its marks, and where it is bold.
struct Marked {
    QString text;
    QList<QTextLayout::FormatRange> bold;
};

Marked withoutMarks(const QString& markdown)
{
    QTextCharFormat format;
    format.setFontWeight(QFont::Bold);
    Marked marked;
    const auto parts = markdown.split("**");
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const auto start = static_cast<int>(marked.text.size());
        if (i % 2 == 1)
            marked.bold.append({ start, static_cast<int>(parts[i].size()), format });
        marked.text += parts[i];
    }
    return marked;
}

class Paragraph final : public QLabel {
public:
    Paragraph()
    {
        setTextFormat(Qt::PlainText);
        setWordWrap(true);
        auto policy = sizePolicy();
        policy.setHorizontalPolicy(QSizePolicy::Expanding);
        setSizePolicy(policy);
    }

    void show(const Marked& marked, Qt::Alignment newAlignment)
    {
        if (alignment() != newAlignment)
            setAlignment(newAlignment);
        if (text() == marked.text && bold == marked.bold)
            return;
        bold = marked.bold;
        setText(marked.text);
        updateGeometry();
        update();
    }

    int heightForWidth(int width) const override
    {
        QTextLayout layout;
        return static_cast<int>(std::ceil(layOut(layout, width)));
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QTextLayout layout;
        const int width = lineWidth(layout);
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::WindowText));
        layout.draw(&painter, QPointF((rect().width() - width) / 2.0, 0));
    }

private:
    /// Lays out what is painted and returns how wide its lines may be.
    int lineWidth(QTextLayout& layout) const
    {
        int width = rect().width();
        layOut(layout, width);
        if (!alignment().testFlag(Qt::AlignHCenter))
            return width;
        // As narrow as the same number of lines allows: the last line is then not a single word.
        const int lines = layout.lineCount();
        int tooNarrow = 0;
        while (width - tooNarrow > 1) {
            const int middle = (width + tooNarrow) / 2;
            layOut(layout, middle);
            (layout.lineCount() > lines ? tooNarrow : width) = middle;
        }
        layOut(layout, width);
        return width;
    }

    /// Returns the height of all lines.
    double layOut(QTextLayout& layout, int width) const
    {
        // Written as the text itself reads, in whatever direction the window does.
        QTextOption option(QStyle::visualAlignment(layoutDirection(), alignment()) | Qt::AlignAbsolute);
        option.setTextDirection(text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.setFont(font());
        layout.setText(QString(text()).replace('\n', QChar::LineSeparator));
        layout.setFormats(bold);

        double height = 0;
        layout.beginLayout();
        for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(width);
            line.setPosition(QPointF(0, height));
            height += line.height();
        }
        layout.endLayout();
        return height;
    }

    QList<QTextLayout::FormatRange> bold;
};

}

View paragraph(const QString& text, Qt::Alignment alignment)
{
    return View::of<Paragraph>([text, alignment](Paragraph& paragraph) {
        paragraph.show({ text, {} }, alignment);
    });
}

View markdown(const QString& text)
{
    return View::of<Paragraph>(
        [text](Paragraph& paragraph) { paragraph.show(withoutMarks(text), Qt::AlignLeft); });
}
