#pragma once

#include <QWidget>

class QCheckBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;

// The settings screen "Pengaturan": the registry's FTP address (server, port, account,
// password), the default player name, sound, and the router switch. It shows what is in
// force now, says where a value comes from when the environment or the command line sets it,
// lists every value that was left out, and saves the player's choices.
class SettingsScreen : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsScreen(QWidget *parent = nullptr);

    // Fills the fields from the settings in force (done on every show).
    void load();
    // Checks the fields and saves them; false, with the reason shown, when one is bad.
    bool save();

    QLineEdit *field(const QString &name) const;
    QCheckBox *option(const QString &name) const;
    QString problemsText() const;

signals:
    void saved();

protected:
    void showEvent(QShowEvent *event) override;

private:
    QLineEdit *addField(QGridLayout *grid, const QString &name, const QString &caption, int row);
    QString checkFields() const;
    void showProblems(const QStringList &problems);

    QLineEdit *m_host;
    QLineEdit *m_port;
    QLineEdit *m_account;
    QLineEdit *m_password;
    QLineEdit *m_name;
    QCheckBox *m_sound;
    QCheckBox *m_mapPorts;
    QLabel *m_origin;
    QLabel *m_problems;
    QLabel *m_place;
};
