#include "windows/ui/Controls.h"

#include <QLabel>
#include <QStyle>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <functional>
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

bool endsInOneWord(const QTextLayout& layout)
{
    const auto last = layout.lineAt(layout.lineCount() - 1);
    const auto text = QStringView(layout.text()).mid(last.textStart(), last.textLength()).trimmed();
    return std::ranges::none_of(text, [](QChar character) { return character.isSpace(); });
}

/// Whether a word is too long for its line.
bool overflows(const QTextLayout& layout)
{
    for (int i = 0; i < layout.lineCount(); ++i) {
        if (const auto line = layout.lineAt(i); line.naturalTextWidth() > line.width())
            return true;
    }
    return false;
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
        const double unused = rect().width() - lineWidth(layout);
        const auto visual = QStyle::visualAlignment(layoutDirection(), alignment());
        const double left = isCentered() ? unused / 2 : visual.testFlag(Qt::AlignRight) ? unused : 0;
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::WindowText));
        layout.draw(&painter, QPointF(left, 0));
    }

private:
    bool isCentered() const { return alignment().testFlag(Qt::AlignHCenter); }

    /// Lays out what is painted and returns how wide its lines may be. Nowhere is the last one a single word,
    /// if that costs no further line.
    int lineWidth(QTextLayout& layout) const
    {
        const int whole = rect().width();
        layOut(layout, whole);
        const int lines = layout.lineCount();
        const auto isTooNarrow
            = [lines](const QTextLayout& narrow) { return narrow.lineCount() > lines || overflows(narrow); };
        int width = whole;
        if (isCentered()) {
            // As narrow as they can be, and so about equally long.
            width = greatestWidth(layout, isTooNarrow) + 1;
        } else if (endsInOneWord(layout)) {
            width = greatestWidth(layout,
                [&](const QTextLayout& narrow) { return isTooNarrow(narrow) || !endsInOneWord(narrow); });
        }
        layOut(layout, width, QTextOption::WordWrap);
        if (isTooNarrow(layout))
            layOut(layout, width = whole);
        return width;
    }

    /// The greatest width at which the lines are as wanted, when they are at every lesser one. Words stay
    /// whole.
    int greatestWidth(QTextLayout& layout, const std::function<bool(const QTextLayout&)>& isWanted) const
    {
        int wanted = 0;
        int tooWide = rect().width();
        while (tooWide - wanted > 1) {
            const int middle = (wanted + tooWide) / 2;
            layOut(layout, middle, QTextOption::WordWrap);
            (isWanted(layout) ? wanted : tooWide) = middle;
        }
        return wanted;
    }

    /// Returns the height of all lines.
    double layOut(QTextLayout& layout, int width,
        QTextOption::WrapMode mode = QTextOption::WrapAtWordBoundaryOrAnywhere) const
    {
        // Written as the text itself reads, in whatever direction the window does.
        QTextOption option(QStyle::visualAlignment(layoutDirection(), alignment()) | Qt::AlignAbsolute);
        option.setTextDirection(text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(mode);
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
