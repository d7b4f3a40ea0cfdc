#include "host_address.h"

#include <QStringList>

namespace {

// The longest valid text, "255.255.255.255_65535_65535", is 27 characters; longer input is
// refused before it is split.
constexpr qsizetype MaxText = 27;

// A decimal number of at most `maxDigits` digits, no sign, no leading zero, at most `max`.
bool parseNumber(QStringView text, int maxDigits, uint max, uint *value)
{
    if (text.isEmpty() || text.size() > maxDigits)
        return false;
    if (text.size() > 1 && text.front() == u'0')
        return false;
    uint result = 0;
    for (QChar c : text) {
        if (c < u'0' || c > u'9')
            return false;
        result = result * 10 + uint(c.unicode() - u'0');
    }
    if (result > max)
        return false;
    *value = result;
    return true;
}

bool parsePort(QStringView text, quint16 *port)
{
    uint value = 0;
    if (!parseNumber(text, 5, 65535, &value) || value == 0)
        return false;
    *port = quint16(value);
    return true;
}

} // namespace

bool HostAddress::parseIpv4(QStringView text, quint32 *ipv4)
{
    if (text.size() > 15)
        return false;
    quint32 result = 0;
    int parts = 0;
    for (QStringView part : text.tokenize(u'.')) {
        uint value = 0;
        if (++parts > 4 || !parseNumber(part, 3, 255, &value))
            return false;
        result = (result << 8) | value;
    }
    if (parts != 4)
        return false;
    *ipv4 = result;
    return true;
}

QString HostAddress::formatIpv4(quint32 ipv4)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ipv4 >> 24).arg((ipv4 >> 16) & 0xff).arg((ipv4 >> 8) & 0xff).arg(ipv4 & 0xff);
}

HostAddress HostAddress::parse(QStringView text, quint16 standardMatchPort, quint16 standardProbePort)
{
    HostAddress result;
    if (text.size() > MaxText)
        return result;
    quint32 ip = 0;
    quint16 match = standardMatchPort;
    quint16 probe = standardProbePort;
    Form form = Form::Plain;

    QStringView host = text;
    if (const qsizetype colon = text.indexOf(u':'); colon >= 0) {
        host = text.left(colon);
        if (!parsePort(text.mid(colon + 1), &match))
            return result;
        form = Form::WithMatchPort;
    } else if (const qsizetype under = text.indexOf(u'_'); under >= 0) {
        host = text.left(under);
        const QStringView ports = text.mid(under + 1);
        const qsizetype second = ports.indexOf(u'_');
        if (second < 0 || !parsePort(ports.left(second), &match)
            || !parsePort(ports.mid(second + 1), &probe))
            return result;
        form = Form::WithPorts;
    }
    if (!parseIpv4(host, &ip))
        return result;
    result.m_form = form;
    result.m_ipv4 = ip;
    result.m_matchPort = match;
    result.m_probePort = probe;
    return result;
}

HostAddress HostAddress::make(quint32 ipv4, quint16 matchPort, quint16 probePort)
{
    HostAddress result;
    result.m_form = Form::WithPorts;
    result.m_ipv4 = ipv4;
    result.m_matchPort = matchPort;
    result.m_probePort = probePort;
    return result;
}

QString HostAddress::address() const
{
    return isValid() ? formatIpv4(m_ipv4) : QString();
}

QString HostAddress::registryName(quint16 standardMatchPort, quint16 standardProbePort) const
{
    if (!isValid())
        return {};
    if (m_matchPort == standardMatchPort && m_probePort == standardProbePort)
        return address();
    return QStringLiteral("%1_%2_%3").arg(address()).arg(m_matchPort).arg(m_probePort);
}
