#pragma once

#include <QString>
#include <QStringView>

// Where a host can be reached: an IPv4 address with its match and probe ports. Written three
// ways, all strictly parsed and bounded (nothing here resolves names):
//   "a.b.c.d"        the plain registry name: the standard ports
//   "a.b.c.d_M_P"    a registry name with the ports a router maps (M match, P probe); "_"
//                    keeps it a valid file name on FTP servers and Windows
//   "a.b.c.d:M"      typed by a joiner: a match port, the standard probe port
// Anything else is invalid: the caller decides what that means (a name to look up, a registry
// line to skip), never a crash.
class HostAddress
{
public:
    enum class Form { Invalid, Plain, WithPorts, WithMatchPort };

    // The standard ports stand for a plain name; callers pass the configured ones.
    static HostAddress parse(QStringView text, quint16 standardMatchPort, quint16 standardProbePort);
    static HostAddress make(quint32 ipv4, quint16 matchPort, quint16 probePort);

    bool isValid() const { return m_form != Form::Invalid; }
    Form form() const { return m_form; }
    quint32 ipv4() const { return m_ipv4; }
    QString address() const;  // dotted, e.g. "203.0.113.7"
    quint16 matchPort() const { return m_matchPort; }
    quint16 probePort() const { return m_probePort; }

    // The registry name: plain when both ports are the standard ones, else "a.b.c.d_M_P".
    QString registryName(quint16 standardMatchPort, quint16 standardProbePort) const;

    // Dotted IPv4 only: four decimal parts 0-255, no leading zeros (which some readers take
    // for octal), no blanks. False leaves `ipv4` untouched.
    static bool parseIpv4(QStringView text, quint32 *ipv4);
    static QString formatIpv4(quint32 ipv4);

private:
    Form m_form = Form::Invalid;
    quint32 m_ipv4 = 0;
    quint16 m_matchPort = 0;
    quint16 m_probePort = 0;
};
