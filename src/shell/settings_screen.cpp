#include "settings_screen.h"

#include "platform/game_style.h"
#include "platform/settings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// The port our own registry service listens on, offered while no registry is set.
constexpr quint16 RegistryServicePort = 2121;

const char *const kScreen =
    "SettingsScreen { background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #0f4a46,"
    " stop:1 #072826); }"
    "QLabel { color: #f4ead5; background: transparent; font-size: 12px; }"
    "QLabel#Heading { color: #ffd67a; font-weight: bold; font-size: 13px; }"
    "QLabel#Origin, QLabel#Place { color: #b9cfc9; font-style: italic; font-size: 11px; }"
    "QLabel#Problems { color: #ffb38a; font-size: 11px; }"
    "QCheckBox { color: #f4ead5; background: transparent; font-size: 12px; spacing: 7px; }"
    "QCheckBox::indicator { width: 13px; height: 13px; border: 2px solid #d9ae55;"
    " border-radius: 3px; background: #082a2c; }"
    "QCheckBox::indicator:checked { background: qradialgradient(cx:0.5, cy:0.5, radius:0.6,"
    " stop:0 #fff6c8, stop:0.45 #f0b443, stop:0.55 #082a2c, stop:1 #082a2c); }"
    "QCheckBox::indicator:hover { border-color: #ffd67a; }";

QLabel *heading(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("Heading"));
    return label;
}

QLabel *note(const QString &name, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);  // paths and file contents are data
    label->setWordWrap(true);
    return label;
}

QString originText(GameSettings::Origin origin)
{
    switch (origin) {
    case GameSettings::Origin::CommandLine:
        return QStringLiteral("Server daftar kali ini ditentukan oleh --registry di baris perintah; "
                              "yang disimpan di sini berlaku pada permainan berikutnya tanpa itu.");
    case GameSettings::Origin::Environment:
        return QStringLiteral("Server daftar kali ini ditentukan oleh variabel DORVALA_FTP_URL; "
                              "yang disimpan di sini berlaku bila variabel itu tidak ada.");
    case GameSettings::Origin::SystemFile:
        return QStringLiteral("Server daftar ini diatur oleh pengelola komputer (berkas sistem).");
    case GameSettings::Origin::UserFile:
    case GameSettings::Origin::Default:
        break;
    }
    return QString();
}

} // namespace

SettingsScreen::SettingsScreen(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("Pengaturan"));
    setWindowTitle(QStringLiteral("Pengaturan Dorvala Online"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QLatin1String(kScreen) + GameStyle::fields() + GameStyle::pushButtons());

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->setSpacing(8);

    layout->addWidget(heading(QStringLiteral("Server daftar tuan rumah (FTP)"), this));
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    layout->addLayout(grid);
    m_host = addField(grid, QStringLiteral("RegistryHost"), QStringLiteral("Alamat server:"), 0);
    m_host->setPlaceholderText(QStringLiteral("kosong: tanpa server daftar"));
    m_port = addField(grid, QStringLiteral("RegistryPort"), QStringLiteral("Port:"), 1);
    m_account = addField(grid, QStringLiteral("RegistryAccount"), QStringLiteral("Akun:"), 2);
    m_password = addField(grid, QStringLiteral("RegistryPassword"), QStringLiteral("Kata sandi:"), 3);
    m_password->setEchoMode(QLineEdit::Password);
    m_origin = note(QStringLiteral("Origin"), this);
    layout->addWidget(m_origin);

    layout->addWidget(heading(QStringLiteral("Pemain"), this));
    auto *playerGrid = new QGridLayout;
    playerGrid->setHorizontalSpacing(10);
    layout->addLayout(playerGrid);
    auto *nameCaption = new QLabel(QStringLiteral("Nama pemain:"), this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("PlayerName"));
    m_name->setMaxLength(SettingsLayer::MaxNameLength);
    playerGrid->addWidget(nameCaption, 0, 0);
    playerGrid->addWidget(m_name, 0, 1);
    playerGrid->setColumnMinimumWidth(0, 110);

    m_sound = new QCheckBox(QStringLiteral("Bunyikan suara permainan"), this);
    m_sound->setObjectName(QStringLiteral("SoundEnabled"));
    layout->addWidget(m_sound);
    m_mapPorts = new QCheckBox(QStringLiteral("Buka port di router saat menjadi tuan rumah (UPnP, NAT-PMP)"),
                               this);
    m_mapPorts->setObjectName(QStringLiteral("MapPorts"));
    layout->addWidget(m_mapPorts);

    m_problems = note(QStringLiteral("Problems"), this);
    layout->addWidget(m_problems);
    m_place = note(QStringLiteral("Place"), this);
    layout->addWidget(m_place);
    layout->addStretch(1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *saveButton = new QPushButton(QStringLiteral("Simpan"), this);
    saveButton->setObjectName(QStringLiteral("Save"));
    saveButton->setMinimumWidth(92);
    saveButton->setDefault(true);
    auto *cancelButton = new QPushButton(QStringLiteral("Batal"), this);
    cancelButton->setObjectName(QStringLiteral("Cancel"));
    cancelButton->setMinimumWidth(92);
    buttons->addWidget(saveButton);
    buttons->addWidget(cancelButton);
    layout->addLayout(buttons);
    connect(saveButton, &QPushButton::clicked, this, [this] {
        if (save())
            close();
    });
    connect(cancelButton, &QPushButton::clicked, this, &QWidget::close);

    resize(440, 380);
}

QLineEdit *SettingsScreen::addField(QGridLayout *grid, const QString &name, const QString &caption,
                                    int row)
{
    auto *label = new QLabel(caption, this);
    auto *edit = new QLineEdit(this);
    edit->setObjectName(name);
    grid->addWidget(label, row, 0);
    grid->addWidget(edit, row, 1);
    grid->setColumnMinimumWidth(0, 110);
    return edit;
}

void SettingsScreen::showEvent(QShowEvent *event)
{
    load();
    QWidget::showEvent(event);
}

void SettingsScreen::load()
{
    const GameSettings settings = Settings::game();
    const RegistryAddress &registry = settings.registry;
    m_host->setText(registry.host);
    m_port->setText(QString::number(registry.isSet() ? registry.port : RegistryServicePort));
    m_account->setText(registry.account);
    m_password->setText(registry.password);
    m_name->setText(settings.playerName);
    m_sound->setChecked(settings.soundEnabled);
    m_mapPorts->setChecked(settings.mapPorts);
    const QString origin = originText(settings.registryOrigin);
    m_origin->setText(origin);
    m_origin->setVisible(!origin.isEmpty());
    showProblems(settings.problems);
    m_place->setText(QStringLiteral("Disimpan di %1").arg(Settings::userSettingsPlace()));
}

QString SettingsScreen::checkFields() const
{
    const QString host = m_host->text().trimmed();
    if (host.isEmpty())
        return QString();
    if (!RegistryAddress::isValidHost(host))
        return QStringLiteral("Alamat server \"%1\" tidak sah: pakai nama atau nomor IP tanpa spasi.")
            .arg(host);
    bool ok = false;
    const uint port = m_port->text().trimmed().toUInt(&ok);
    if (!ok || port == 0 || port > 65535)
        return QStringLiteral("Port \"%1\" tidak sah: harus angka 1 sampai 65535.").arg(m_port->text());
    if (m_account->text().trimmed().isEmpty())
        return QStringLiteral("Akun server daftar tidak boleh kosong.");
    return QString();
}

bool SettingsScreen::save()
{
    const QString problem = checkFields();
    if (!problem.isEmpty()) {
        showProblems({problem});
        return false;
    }
    Settings::PlayerChoices choices;
    RegistryAddress registry;
    registry.host = m_host->text().trimmed();
    registry.port = quint16(m_port->text().trimmed().toUInt());
    registry.account = m_account->text().trimmed();
    registry.password = m_password->text();
    choices.registryUrl = registry.url();
    choices.playerName = m_name->text();
    choices.soundEnabled = m_sound->isChecked();
    choices.mapPorts = m_mapPorts->isChecked();
    QString error;
    if (!Settings::savePlayerChoices(choices, &error)) {
        showProblems({error});
        return false;
    }
    showProblems({});
    emit saved();
    return true;
}

void SettingsScreen::showProblems(const QStringList &problems)
{
    m_problems->setText(problems.join(u'\n'));
    m_problems->setVisible(!problems.isEmpty());
}

QLineEdit *SettingsScreen::field(const QString &name) const
{
    return findChild<QLineEdit *>(name);
}

QCheckBox *SettingsScreen::option(const QString &name) const
{
    return findChild<QCheckBox *>(name);
}

QString SettingsScreen::problemsText() const
{
    return m_problems->text();
}
