#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>
#include <vector>

// A tolerant, single-pass reader of the text of any RTF document. Linear in the input,
// bounded in memory whatever the nesting, never fails: malformed input gives the text
// read so far. Input that is not RTF at all is read as plain cp1252 text.
class RtfReader
{
public:
    static QString text(const QByteArray &rtf);

private:
    struct Group
    {
        bool skip = false;  // inside a destination whose text is not document text
        int unicodeSkip = 1;  // \ucN: characters standing in for each \uN
    };

    RtfReader(const char *begin, const char *end);
    QString run();
    void escape();
    void controlWord(std::string_view name, bool hasParam, long param);
    void controlSymbol(char symbol);
    void character(char16_t c);
    bool consumeFallback();
    void openGroup();
    bool closeGroup();

    static QString plainText(const QByteArray &bytes);

    const char *m_pos;
    const char *m_end;
    QString m_out;
    Group m_group;
    std::vector<Group> m_stack;
    long m_overflow = 0;  // groups opened beyond the stack limit, sharing the top state
    long m_pendingSkip = 0;
};
