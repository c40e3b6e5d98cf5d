#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <cstdio>

// Writes what the program says without the toolkit as a table: of each translation's file, the texts of one
// context.

namespace {

/// A text as C++ has it, whatever is in it.
QByteArray literal(const QString& text)
{
    QByteArray escaped = "\"";
    for (const char byte : text.toUtf8()) {
        const bool isPlain = byte == ' ' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z')
            || (byte >= 'a' && byte <= 'z') || byte == '_';
        if (isPlain)
            escaped += byte;
        else
            escaped += '\\' + QByteArray::number(static_cast<unsigned char>(byte), 8).rightJustified(3, '0');
    }
    return escaped + '"';
}

/// "de" for ".../knucklet_de.ts".
QString languageOf(const QString& file) { return QFileInfo(file).completeBaseName().section('_', 1); }

/// One row of the table; nothing for a text that has no translation.
QByteArray row(QXmlStreamReader& xml, const QString& language, const QString& context)
{
    QString text;
    QString translation;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"source") {
            text = xml.readElementText();
        } else if (xml.name() == u"translation") {
            const auto type = xml.attributes().value("type");
            const bool isGone = type == u"vanished" || type == u"obsolete";
            const auto content = xml.readElementText();
            translation = isGone ? QString() : content;
        } else {
            xml.skipCurrentElement();
        }
    }
    if (translation.isEmpty())
        return {};
    return "    Translation { " + literal(language) + ", " + literal(context) + ", " + literal(text) + ", "
        + literal(translation) + " },\n";
}

QByteArrayList rows(QXmlStreamReader& xml, const QString& language, const QString& wanted)
{
    QByteArrayList rows;
    QString context;
    xml.readNextStartElement();
    while (xml.readNextStartElement()) {
        if (xml.name() != u"context") {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() == u"name")
                context = xml.readElementText();
            else if (xml.name() == u"message" && context == wanted)
                rows << row(xml, language, context);
            else
                xml.skipCurrentElement();
        }
    }
    rows.removeAll({});
    return rows;
}

}

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    const auto names = QCoreApplication::arguments();
    if (names.size() < 3) {
        std::fputs("usage: list-texts CONTEXT TABLE.cpp [knucklet_LANGUAGE.ts...]\n", stderr);
        return 2;
    }
    QByteArrayList table;
    for (const auto& name : names.mid(3)) {
        QFile file(name);
        if (!file.open(QFile::ReadOnly))
            return 1;
        QXmlStreamReader xml(&file);
        table += rows(xml, languageOf(name), names[1]);
        if (xml.hasError())
            return 1;
    }
    QFile out(names[2]);
    if (!out.open(QFile::WriteOnly))
        return 1;
    out.write("#include \"support/Translation.h\"\n\n#include <array>\n\n"
              "static constexpr std::array<Translation, "
        + QByteArray::number(table.size()) + "> table {\n" + table.join()
        + "};\n\nstd::span<const Translation> translations() { return table; }\n");
    return out.flush() ? 0 : 1;
}
