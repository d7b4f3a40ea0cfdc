#include "game_style.h"

QString GameStyle::pushButtons()
{
    return QStringLiteral(
        "QPushButton { color: #ffffff; font-weight: bold; font-size: 12px;"
        " border: 1px solid #d9ae55; border-radius: 7px; padding: 2px 4px;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #23918a, stop:1 #0b4245); }"
        "QPushButton:hover { border-color: #ffd67a;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #35b8ad, stop:1 #126762); }"
        "QPushButton:pressed { border-color: #a9823c;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #0a3537, stop:1 #16605c); }"
        "QPushButton:focus { outline: none; }"
        "QPushButton:disabled { color: #a9aca8; border-color: #6d6e68;"
        " background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #5f6566, stop:1 #3a3e3f); }");
}

QString GameStyle::fields()
{
    return QStringLiteral(
        "QLineEdit, QComboBox { color: #21160b; background: #fbf5e6; font-size: 12px;"
        " border: 1px solid #b8893a; border-radius: 4px; padding: 1px 5px;"
        " selection-background-color: #1d8f86; selection-color: #ffffff; }"
        "QLineEdit:focus, QComboBox:focus { border-color: #ffd67a; }"
        "QLineEdit:disabled, QComboBox:disabled { color: #6f6a62; background: #a9a69e;"
        " border-color: #6d6e68; }"
        "QComboBox::drop-down { subcontrol-origin: padding; subcontrol-position: center right;"
        " width: 16px; border: none; border-left: 1px solid #d9c79c; }"
        "QComboBox::down-arrow { image: url(:/pictures/DropArrow.png); width: 10px; height: 6px; }"
        "QComboBox QAbstractItemView { color: #21160b; background: #fbf5e6;"
        " selection-background-color: #1d8f86; selection-color: #ffffff; }");
}

QString GameStyle::optionButtons()
{
    return QStringLiteral(
        "QRadioButton { color: #f4ead5; background: transparent; font-size: 12px; spacing: 7px; }"
        "QRadioButton::indicator { width: 12px; height: 12px; border-radius: 8px;"
        " border: 2px solid #d9ae55; background: #082a2c; }"
        "QRadioButton::indicator:hover { border-color: #ffd67a; }"
        "QRadioButton::indicator:checked { border-color: #ffd67a;"
        " background: qradialgradient(cx:0.5, cy:0.5, radius:0.5, fx:0.4, fy:0.4,"
        " stop:0 #fff6c8, stop:0.5 #f0b443, stop:0.62 #f0b443, stop:0.72 #082a2c, stop:1 #082a2c); }"
        "QRadioButton:disabled { color: #9a9890; }"
        "QRadioButton::indicator:disabled { border-color: #6d6e68; }");
}
