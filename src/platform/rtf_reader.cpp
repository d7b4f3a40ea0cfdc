#include "rtf_reader.h"

#include "cp1252.h"

#include <QStringDecoder>

#include <algorithm>
#include <unordered_map>

namespace {

// Real documents nest a few dozen groups; beyond this the groups share one state so that
// a flood of "{" costs no memory.
constexpr size_t maxDepth = 1000;
constexpr long maxParam = 1000000000L;

enum class Word {
    Unknown,
    Destination,
    Paragraph,
    Tab,
    Unicode,
    UnicodeSkip,
    Binary,
    Symbol,
};

struct WordInfo
{
    Word kind;
    char16_t symbol = 0;
};

const WordInfo &lookup(std::string_view name)
{
    static const std::unordered_map<std::string_view, WordInfo> words = [] {
        std::unordered_map<std::string_view, WordInfo> map;
        // Groups that carry tables, pictures, metadata or field codes, not document text.
        for (const char *d : {"fonttbl", "colortbl", "stylesheet", "info", "pict", "object",
                              "objdata", "header", "headerl", "headerr", "headerf",
                              "footer", "footerl", "footerr", "footerf", "footnote",
                              "ftnsep", "ftnsepc", "ftncn", "aftnsep", "aftnsepc", "aftncn",
                              "annotation", "atnid", "atnauthor", "fldinst", "listtable",
                              "listoverridetable", "revtbl", "rsidtbl", "xmlnstbl",
                              "themedata", "colorschememapping", "latentstyles",
                              "datastore", "pgdsctbl", "filetbl", "generator", "author",
                              "operator", "title", "subject", "keywords", "comment",
                              "doccomm", "company", "category", "manager", "hlinkbase",
                              "template", "nonshppict", "shpinst", "sp", "sn", "sv", "pn",
                              "pntxta", "pntxtb", "txe", "xe", "tc", "rxe", "bkmkstart",
                              "bkmkend", "private", "userprops", "docvar", "mmathPr",
                              "panose", "falt", "leveltext", "levelnumbers", "blipuid",
                              "defchp", "defpap", "wgrffmtfilter", "passwordhash",
                              "protusertbl", "pgptbl", "fchars", "lchars"})
            map.emplace(d, WordInfo{Word::Destination});
        for (const char *p : {"par", "line", "sect", "page", "row"})
            map.emplace(p, WordInfo{Word::Paragraph});
        for (const char *t : {"tab", "cell"})
            map.emplace(t, WordInfo{Word::Tab});
        map.emplace("u", WordInfo{Word::Unicode});
        map.emplace("uc", WordInfo{Word::UnicodeSkip});
        map.emplace("bin", WordInfo{Word::Binary});
        const std::pair<const char *, char16_t> symbols[] = {
            {"emdash", 0x2014},   {"endash", 0x2013},    {"bullet", 0x2022},
            {"lquote", 0x2018},   {"rquote", 0x2019},    {"ldblquote", 0x201C},
            {"rdblquote", 0x201D}, {"emspace", 0x2003}, {"enspace", 0x2002},
            {"qmspace", 0x2005},
        };
        for (const auto &[name, c] : symbols)
            map.emplace(name, WordInfo{Word::Symbol, c});
        return map;
    }();
    static const WordInfo unknown{Word::Unknown};
    const auto it = words.find(name);
    return it == words.end() ? unknown : it->second;
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

int hexValue(char c)
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

QString RtfReader::text(const QByteArray &rtf)
{
    const char *begin = rtf.constData();
    const char *end = begin + rtf.size();
    const char *p = begin;
    if (rtf.startsWith("\xEF\xBB\xBF"))
        p += 3;
    while (p < end && (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n'))
        ++p;
    if (std::string_view(p, end - p).substr(0, 5) != "{\\rtf")
        return plainText(rtf);
    return RtfReader(p, end).run();
}

// A file that is not RTF reads as its text, the way a rich-text box loads one: cp1252
// (UTF-8 when it starts with a byte-order mark), line ends as "\n", and one final line
// end removed like the final paragraph end of a document, so "5\r\n" reads as "5".
QString RtfReader::plainText(const QByteArray &bytes)
{
    QByteArrayView view(bytes);
    while (view.endsWith('\0'))
        view.chop(1);
    QString text;
    if (view.startsWith("\xEF\xBB\xBF")) {
        QStringDecoder utf8(QStringDecoder::Utf8);
        text = utf8.decode(view.sliced(3));
    } else {
        text = Cp1252::decode(view.toByteArray());
    }
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(u'\r', u'\n');
    if (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}

RtfReader::RtfReader(const char *begin, const char *end)
    : m_pos(begin)
    , m_end(end)
{
    m_stack.reserve(32);
}

QString RtfReader::run()
{
    while (m_pos < m_end) {
        const char c = *m_pos++;
        switch (c) {
        case '{':
            openGroup();
            break;
        case '}':
            if (!closeGroup())
                m_pos = m_end;  // the document's own group has closed: the rest is not in it
            break;
        case '\\':
            escape();
            break;
        case '\r':
        case '\n':
            break;
        default:
            if (c == '\t' || uchar(c) >= 0x20)
                character(c == '\t' ? u'\t' : Cp1252::toUnicode(uchar(c)));
            break;
        }
    }
    if (m_out.endsWith(u'\n'))
        m_out.chop(1);
    return m_out;
}

void RtfReader::openGroup()
{
    m_pendingSkip = 0;
    if (m_stack.size() < maxDepth)
        m_stack.push_back(m_group);
    else
        ++m_overflow;
}

bool RtfReader::closeGroup()
{
    m_pendingSkip = 0;
    if (m_overflow > 0) {
        --m_overflow;
        return true;
    }
    if (m_stack.empty())
        return false;
    m_group = m_stack.back();
    m_stack.pop_back();
    return !m_stack.empty();
}

// The characters after \uN that stand in for it in readers without Unicode.
bool RtfReader::consumeFallback()
{
    if (m_pendingSkip <= 0)
        return false;
    --m_pendingSkip;
    return true;
}

void RtfReader::character(char16_t c)
{
    if (consumeFallback() || m_group.skip)
        return;
    m_out += QChar(c);
}

void RtfReader::escape()
{
    if (m_pos >= m_end)
        return;
    const char c = *m_pos;
    if (!isLetter(c)) {
        ++m_pos;
        controlSymbol(c);
        return;
    }
    const char *nameBegin = m_pos;
    while (m_pos < m_end && isLetter(*m_pos))
        ++m_pos;
    const std::string_view name(nameBegin, m_pos - nameBegin);
    bool negative = false;
    if (m_pos + 1 < m_end && *m_pos == '-' && isDigit(m_pos[1])) {
        negative = true;
        ++m_pos;
    }
    bool hasParam = false;
    long param = 0;
    while (m_pos < m_end && isDigit(*m_pos)) {
        hasParam = true;
        param = std::min(maxParam, param * 10 + (*m_pos - '0'));
        ++m_pos;
    }
    if (m_pos < m_end && *m_pos == ' ')
        ++m_pos;
    controlWord(name, hasParam, negative ? -param : param);
}

void RtfReader::controlSymbol(char symbol)
{
    switch (symbol) {
    case '\'': {
        const int high = m_pos < m_end ? hexValue(*m_pos) : -1;
        const int low = high >= 0 && m_pos + 1 < m_end ? hexValue(m_pos[1]) : -1;
        if (low < 0) {
            // A broken escape: take what hex there is and go on.
            if (high >= 0)
                ++m_pos;
            consumeFallback();
            return;
        }
        m_pos += 2;
        character(Cp1252::toUnicode(uchar(high * 16 + low)));
        return;
    }
    case '\\':
    case '{':
    case '}':
        character(char16_t(symbol));
        return;
    case '~':
        character(0x00A0);
        return;
    case '_':
        character(u'-');
        return;
    case '\r':
    case '\n':
        character(u'\n');
        return;
    case '*':
        // We read none of the optional destinations.
        if (!consumeFallback())
            m_group.skip = true;
        return;
    default:
        // "\-" (optional hyphen) and the other symbols leave no text.
        consumeFallback();
        return;
    }
}

void RtfReader::controlWord(std::string_view name, bool hasParam, long param)
{
    const WordInfo &info = lookup(name);
    if (info.kind == Word::Binary) {
        // Raw bytes follow; they may hold anything, braces and backslashes included.
        const long count = hasParam ? std::max(0L, param) : 0;
        m_pos += std::min<qint64>(count, m_end - m_pos);
        consumeFallback();
        return;
    }
    if (consumeFallback())
        return;
    switch (info.kind) {
    case Word::Destination:
        m_group.skip = true;
        break;
    case Word::Paragraph:
        character(u'\n');
        break;
    case Word::Tab:
        character(u'\t');
        break;
    case Word::Symbol:
        character(info.symbol);
        break;
    case Word::Unicode:
        if (hasParam) {
            const char16_t unit = char16_t(param & 0xFFFF);
            if (unit != 0 && !m_group.skip)
                m_out += QChar(unit);
            m_pendingSkip = m_group.unicodeSkip;
        }
        break;
    case Word::UnicodeSkip:
        m_group.unicodeSkip = hasParam ? int(std::clamp(param, 0L, 1000L)) : 1;
        break;
    case Word::Binary:
    case Word::Unknown:
        break;
    }
}
