#pragma once

#include <QTranslator>

/// Translates into a language that is as much longer than English as German is at its longest.
class PseudoTranslator final : public QTranslator {
public:
    bool isEmpty() const override { return false; }

    QString translate(const char*, const char* text, const char*, int) const override
    {
        QString translated = QString::fromUtf8(text);
        // In words, so that long texts can wrap.
        const auto longer = translated.size() * 14 / 10;
        while (translated.size() < longer)
            translated += translated.size() % 8 == 0 ? u' ' : u'ö';
        return translated;
    }
};
