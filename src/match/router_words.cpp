#include "router_words.h"

#include "net/host_address.h"
#include "net/port_mapper.h"

#include <QCoreApplication>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("RouterWords", text);
}

} // namespace

QString routerSentence(const PortMapper &mapper, quint16 standardMatchPort)
{
    // Each fits the status line (about 80 characters) whole; players on this network can
    // still join.
    const QString outside = tr("tidak terbuka ke internet.");
    switch (mapper.outcome()) {
    case PortMapper::Outcome::Idle:
        return {};
    case PortMapper::Outcome::Trying:
        return tr("Membuka port di router...");
    case PortMapper::Outcome::Open: {
        QString place = HostAddress::formatIpv4(mapper.externalAddress());
        if (mapper.externalMatchPort() != standardMatchPort)
            place += u':' + QString::number(mapper.externalMatchPort());
        return tr("Terbuka ke internet di %1").arg(place);
    }
    case PortMapper::Outcome::NoRouter:
        return tr("Tidak ada router yang menjawab: ") + outside;
    case PortMapper::Outcome::Refused:
        return tr("Router menolak membuka port %1: ").arg(mapper.refusedPort()) + outside;
    case PortMapper::Outcome::HeldByOther:
        return tr("Port %1 di router dipakai komputer lain: ")
                   .arg(mapper.refusedPort())
               + outside;
    case PortMapper::Outcome::SharedAddress:
        return tr("Alamat internet dipakai bersama (CGNAT): ") + outside;
    case PortMapper::Outcome::DoubleNat:
        return tr("Ada dua router berurutan (NAT ganda): ") + outside;
    case PortMapper::Outcome::NoPublicAddress:
        // Behind a provider's shared address or a second router: the router cannot tell which.
        return tr("Router tidak punya alamat internet sendiri (CGNAT): ") + outside;
    case PortMapper::Outcome::NotReachable:
        return tr("Alamat router (%1) tidak dapat dijangkau dari internet.")
            .arg(HostAddress::formatIpv4(mapper.externalAddress()));
    }
    return {};
}
