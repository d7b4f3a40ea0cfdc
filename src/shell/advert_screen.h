#pragma once

#include <QWidget>

class WebView;

// The advert screen "Form1": the maker's contact and advert page. Nothing in the program
// opens it; it is kept for the maker's own use.
class AdvertScreen : public QWidget
{
    Q_OBJECT
public:
    AdvertScreen();
    void Form_Load();

private:
    WebView *m_wb;
};
