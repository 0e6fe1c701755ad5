#include "ui/frame/startup.h"
#include "ui/widgets/hidpi.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>
#include <cstdio>
#include <fstream>

#include "frame/config.h"
#include "frame/paths.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/tips.h"
#include "frame/version.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

const QColor kLogoText(0x69, 0x69, 0x58);  // 0x586969 as red, green, blue

const char* kNotice =
    "Ochrel is free software. This copy may be used, copied and given away; it comes without any "
    "warranty.";

// The program's name drawn as a banner: the letters over a ramp of paint colours.
QImage Banner(QSize size) {
  QImage image = CrispImage(size, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  QLinearGradient ramp(0, 0, size.width(), 0);
  ramp.setColorAt(0.0, QColor(0xB0, 0x3A, 0x2E));
  ramp.setColorAt(0.35, QColor(0xD9, 0x8C, 0x1F));
  ramp.setColorAt(0.7, QColor(0x2E, 0x86, 0x5F));
  ramp.setColorAt(1.0, QColor(0x2A, 0x4D, 0x9B));
  p.fillRect(QRect(0, size.height() - 10, size.width(), 6), ramp);
  QFont f("Liberation Serif");
  f.setPixelSize(size.height() * 6 / 10);
  f.setBold(true);
  f.setItalic(true);
  p.setFont(f);
  p.setPen(QPen(QBrush(ramp), 1));
  p.drawText(QRect(0, 0, size.width(), size.height() - 12), Qt::AlignCenter, "Ochrel");
  return image;
}

}  // namespace

// ---- Start-up window ------------------------------------------------------------

LogoWindow::LogoWindow(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
  setObjectName("VarnwickStudioPaintLogo");
  setFixedSize(400, 232);
  setAttribute(Qt::WA_DeleteOnClose);
  if (QScreen* s = QGuiApplication::primaryScreen()) move(s->geometry().center() - rect().center());
  auto* notice = new QLabel(QString::fromLatin1(kNotice), this);
  notice->setObjectName("11");
  notice->setGeometry(114, 176, 270, 48);
  notice->setAlignment(Qt::AlignCenter);
  notice->setWordWrap(true);
  QFont small = notice->font();
  small.setPixelSize(12);
  notice->setFont(small);
  QPalette pal = notice->palette();
  pal.setColor(QPalette::WindowText, kLogoText);
  notice->setPalette(pal);
  notice->setAttribute(Qt::WA_TransparentForMouseEvents);
  // The animation runs only where the display shows more than 256 colours.
  timer_ = new QTimer(this);
  timer_->setInterval(20);
  connect(timer_, &QTimer::timeout, this, [this] {
    frame_ = (frame_ + 1) % kFrames;
    update(QRect(340, 16, 44, 45));
  });
  if (GetDisplayBits() > 8) timer_->start();
}

QImage LogoWindow::AnimationFrame(int frame) {
  // A brush tip circling a colour wheel, ten degrees a frame.
  QImage image(44, 45, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  const QPointF centre(22, 22.5);
  for (int i = 0; i < 12; ++i) {
    p.setBrush(QColor::fromHsv(i * 30, 200, 230));
    p.setPen(Qt::NoPen);
    p.drawPie(QRectF(4, 4.5, 36, 36), i * 30 * 16, 30 * 16);
  }
  p.setBrush(Qt::white);
  p.drawEllipse(centre, 8, 8);
  const double a = frame * 10.0 * M_PI / 180.0;
  const QPointF tip(centre.x() + 13 * std::cos(a), centre.y() - 13 * std::sin(a));
  p.setBrush(QColor(0x40, 0x40, 0x40));
  p.drawEllipse(tip, 3.5, 3.5);
  return image;
}

void LogoWindow::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), Qt::white);
  p.setPen(QColor(0x80, 0x80, 0x80));
  p.drawRect(rect().adjusted(0, 0, -1, -1));
  p.drawImage(QPoint(8, 69), Banner(QSize(307, 93)));
  p.drawImage(QPoint(340, 16), AnimationFrame(frame_));
}

void LogoWindow::mousePressEvent(QMouseEvent*) { CloseLogo(); }

namespace {
QPointer<LogoWindow> g_logo;
}

void OpenLogo(QWidget* parent) {
  if (!ShowStartupWindow || g_logo) return;
  g_logo = new LogoWindow(parent);
  g_logo->show();
}

void CloseLogo() {
  if (g_logo) g_logo->close();
  g_logo = nullptr;
}

LogoWindow* CurrentLogo() { return g_logo; }

// ---- Tip of the day ---------------------------------------------------------------

TipDialog::TipDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("TipOfTheDayBox");
  setWindowTitle("Tip of the Day");
  auto* banner = new QLabel(this);
  banner->setObjectName("6101");
  banner->setPixmap(QPixmap::fromImage(Banner(QSize(220, 52))));
  text_ = new QLabel(this);
  text_->setObjectName("102");
  text_->setWordWrap(true);
  text_->setTextFormat(Qt::PlainText);
  text_->setMinimumSize(420, 150);
  text_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  text_->setMargin(8);
  text_->setAutoFillBackground(true);
  text_->setFrameShape(QFrame::Box);
  QPalette pal = text_->palette();
  pal.setColor(QPalette::Window, pal.color(QPalette::ToolTipBase));
  pal.setColor(QPalette::WindowText, pal.color(QPalette::ToolTipText));
  text_->setPalette(pal);
  QFont serif("Liberation Serif");
  serif.setPixelSize(18);
  serif.setBold(true);
  text_->setFont(serif);
  again_ = new QCheckBox("Show me another tip tomorrow", this);
  again_->setObjectName("101");
  again_->setChecked(ShowTipOfTheDay != 0);
  auto* doneButton = new QPushButton("Done", this);
  doneButton->setObjectName("1");
  doneButton->setDefault(true);
  connect(doneButton, &QPushButton::clicked, this,
          [this] { done((QApplication::keyboardModifiers() & Qt::ShiftModifier) != 0); });
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(banner);
  layout->addWidget(text_, 1);
  auto* row = new QHBoxLayout;
  row->addWidget(again_);
  row->addStretch(1);
  row->addWidget(doneButton);
  layout->addLayout(row);
  std::string tip;
  GetTipOfTheDay(&tip);
  text_->setText(QString::fromUtf8(tip.c_str()));
  QApplication::beep();
}

QString TipDialog::tip() const { return text_->text(); }

void TipDialog::done(bool shiftHeld) {
  if (shiftHeld) {
    std::string tip;
    GetTipOfTheDay(&tip);
    text_->setText(QString::fromUtf8(tip.c_str()));
    return;
  }
  ShowTipOfTheDay = again_->isChecked() ? 1 : 0;
  accept();
}

void ShowTipDialog(QWidget* parent) {
  TipDialog dialog(parent);
  RunDialog(dialog);
}

// ---- Manual and its warning ---------------------------------------------------------

void DoWarning(QWidget* parent, const QString& text, int* flag) {
  if (!flag || !*flag) return;
  QDialog box(parent);
  box.setObjectName("WarningBox");
  box.setWindowTitle("Warning");
  auto* label = new QLabel(text, &box);
  label->setWordWrap(true);
  label->setMinimumWidth(360);
  auto* again = new QCheckBox("Show me this warning again next time.", &box);
  again->setObjectName("102");
  again->setChecked(true);
  QObject::connect(again, &QCheckBox::toggled, &box, [flag](bool on) { *flag = on ? 1 : 0; });
  auto* ok = new QPushButton("OK", &box);
  ok->setObjectName("1");
  ok->setDefault(true);
  QObject::connect(ok, &QPushButton::clicked, &box, &QDialog::accept);
  auto* layout = new QVBoxLayout(&box);
  layout->addWidget(label);
  layout->addWidget(again);
  layout->addWidget(ok, 0, Qt::AlignRight);
  RunDialog(box);
}

void ShowManual(QWidget* parent) {
  DoWarning(parent, QString::fromUtf8(FetchString(307)), &WarnShowManual);
  OpenHelpPage(parent, "manual.htm", "DOCUMENTATION");
}

// ---- Setup ----------------------------------------------------------------------------

namespace {
const std::pair<unsigned, const char*> kSetupLabels[] = {
    {113, "Auto-adjust task windows"},
    {119, "Create backups"},
    {121, "Revert after eyedropper"},
    {107, "Show startup window"},
    {108, "Show tip of the day"},
    {122, "Update defaults"},
    {115, "Warn before displaying manual"},
    {123, "Keep recovery copies of unsaved pictures"},
    {114, "JPEG Quality:"},
    {120, "Nudge size:"},
    {124, "Recovery copy after (seconds):"},
    {130, "Undo steps:"},
    {131, "Undo memory (MiB, 0 for automatic):"},
};
}  // namespace

SetupDialog::SetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Setup");
  setWindowTitle("Setup");
  auto* tabs = new QTabWidget(this);
  auto* page = new QWidget;
  page->setObjectName("SetupPropertyOne");
  auto* form = new QFormLayout(page);
  for (const auto& [control, label] : kSetupLabels) {
    const CONFIGITEM* item = FindConfigItemByControl(control);
    if (!item) continue;
    const QString name = QString::number(control);
    if (item->flags & CI_ONOFF) {
      auto* box = new QCheckBox(label, page);
      box->setObjectName(name);
      form->addRow(box);
    } else if (item->flags & CI_SPIN) {
      int lo = 0, hi = 0, start = 0;
      ParseSpinRange(item->spin, &lo, &hi, &start);
      auto* spin = new QSpinBox(page);
      spin->setObjectName(name);
      spin->setRange(lo, hi);
      form->addRow(label, spin);
    } else if (item->flags & CI_LIST) {
      auto* list = new QComboBox(page);
      list->setObjectName(name);
      for (int i = 0; i < ConfigChoiceCount(*item); ++i) list->addItem(item->choices[i].text);
      form->addRow(label, list);
    }
  }
  tabs->addTab(page, "Files / Display");
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  connect(buttons, &QDialogButtonBox::accepted, this, [this] {
    GetSetupControls();
    accept();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "SETUP"); });
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(tabs);
  layout->addWidget(buttons);
  SetSetupControls();
}

void SetupDialog::SetSetupControls() {
  for (const auto& [control, label] : kSetupLabels) {
    const CONFIGITEM* item = FindConfigItemByControl(control);
    if (!item || !item->number) continue;
    const QString name = QString::number(control);
    if (auto* box = findChild<QCheckBox*>(name)) box->setChecked(*item->number != 0);
    if (auto* spin = findChild<QSpinBox*>(name)) spin->setValue(ClampSpinValue(*item, *item->number));
    if (auto* list = findChild<QComboBox*>(name)) list->setCurrentIndex(ConfigChoiceSelection(*item));
  }
}

void SetupDialog::GetSetupControls() {
  for (const auto& [control, label] : kSetupLabels) {
    const CONFIGITEM* item = FindConfigItemByControl(control);
    if (!item || !item->number) continue;
    const QString name = QString::number(control);
    if (auto* box = findChild<QCheckBox*>(name)) *item->number = box->isChecked() ? 1 : 0;
    if (auto* spin = findChild<QSpinBox*>(name)) *item->number = ClampSpinValue(*item, spin->value());
    if (auto* list = findChild<QComboBox*>(name))
      if (list->currentIndex() >= 0) SetConfigChoice(*item, list->currentIndex());
  }
}

bool DoSetup(QWidget* parent) {
  SetupDialog dialog(parent);
  return RunDialog(dialog);
}

// ---- System information ------------------------------------------------------------

int GetMachineName(std::string* owner, std::string* organization) {
  owner->clear();
  organization->clear();
  const uid_t uid = getuid();
  if (const passwd* pw = getpwuid(uid)) {
    // The full name is the first field of the comment; the login name serves
    // when there is none.
    std::string gecos = pw->pw_gecos ? pw->pw_gecos : "";
    std::string full = gecos.substr(0, gecos.find(','));
    *owner = !full.empty() ? full : (pw->pw_name ? pw->pw_name : "");
    const std::size_t comma = gecos.find(',');
    if (comma != std::string::npos) {
      std::string rest = gecos.substr(comma + 1);
      *organization = rest.substr(0, rest.find(','));
    }
  }
  if (owner->empty()) {
    if (const char* user = std::getenv("USER"); user && *user) *owner = user;
  }
  if (!owner->empty()) return 1;
  char text[64];
  std::snprintf(text, sizeof text, "User %lu", static_cast<unsigned long>(uid));
  *owner = uid != static_cast<uid_t>(-1) ? text : "Unknown user";
  return 0;
}

SYSINFO GatherSysInfo() {
  SYSINFO info;
  if (QScreen* s = QGuiApplication::primaryScreen()) {
    info.screenWidth = s->size().width();
    info.screenDepth = s->size().height();
  }
  info.displayBits = GetDisplayBits();
  // A network is present when an interface other than loopback is up.
  QDir net("/sys/class/net");
  for (const QString& name : net.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    if (name == "lo") continue;
    std::ifstream state(("/sys/class/net/" + name + "/operstate").toStdString());
    std::string word;
    state >> word;
    if (word == "up") info.network = true;
  }
  info.slowMachine = sysconf(_SC_NPROCESSORS_ONLN) < 2;
  utsname u{};
  if (uname(&u) == 0) {
    unsigned long major = 0, minor = 0;
    int used = 0;
    std::sscanf(u.release, "%lu.%lu%n", &major, &minor, &used);
    char text[400];
    std::snprintf(text, sizeof text, "%lu.%lu%s", major, minor, used > 0 ? u.release + used : "");
    info.version = std::string(u.sysname) + " " + text;
  }
  GetMachineName(&info.owner, &info.organization);
  return info;
}

SysInfoDialog::SysInfoDialog(const SYSINFO& info, QWidget* parent) : QDialog(parent) {
  setObjectName("SysInfoBox");
  setWindowTitle("System Information");
  auto* form = new QFormLayout;
  auto add = [&](const char* label, const QString& value, const char* name) {
    auto* v = new QLabel(value, this);
    v->setObjectName(name);
    form->addRow(label, v);
  };
  add("Screen width:", QString::number(info.screenWidth), "width");
  add("Screen depth:", QString::number(info.screenDepth), "depth");
  add("Network present:", info.network ? "yes" : "no", "network");
  add("Slow machine:", info.slowMachine ? "yes" : "no", "slow");
  add("System version:", QString::fromStdString(info.version), "version");
  add("Owner:", QString::fromStdString(info.owner), "owner");
  add("Organization:", QString::fromStdString(info.organization), "organization");
  const long long colours = info.displayBits >= 32 ? (1LL << 24) : info.displayBits > 0 ? (1LL << info.displayBits) : 0;
  char text[400];
  std::snprintf(text, sizeof text, FetchString(243), formatlong(colours).c_str());
  auto* driver = new QLabel(QString::fromUtf8(text), this);
  driver->setObjectName("colours");
  driver->setWordWrap(true);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Help, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "SYSTEM"); });
  auto* layout = new QVBoxLayout(this);
  auto* banner = new QLabel(this);
  banner->setPixmap(QPixmap::fromImage(Banner(QSize(200, 48))));
  layout->addWidget(banner);
  layout->addLayout(form);
  layout->addWidget(driver);
  layout->addWidget(buttons);
}

void ShowSysInfo(QWidget* parent) {
  SysInfoDialog dialog(GatherSysInfo(), parent);
  RunDialog(dialog);
}

// ---- Display notice ---------------------------------------------------------------------

void ShowDriverDialog(QWidget* parent) {
  QDialog box(parent);
  box.setObjectName("ChangeDriverBox");
  box.setWindowTitle("Display");
  auto* text = new QLabel(
      "Your present Windows screen driver can't display true color, or it's set to a resolution of less "
      "than 800 x 600.",
      &box);
  text->setWordWrap(true);
  text->setMinimumWidth(340);
  auto* help = new QPushButton("Help", &box);
  help->setObjectName("9");
  QObject::connect(help, &QPushButton::clicked, &box, [&box] {
    const QString page = QString::fromLocal8Bit(ApplicationPath) + "html/drivers.htm";
    if (!QFileInfo::exists(page) || !OpenUrl(QUrl::fromLocalFile(page))) DoMessage(&box, FetchString(247));
  });
  auto* done = new QPushButton("Done", &box);
  done->setObjectName("1");
  done->setDefault(true);
  QObject::connect(done, &QPushButton::clicked, &box, &QDialog::accept);
  auto* layout = new QVBoxLayout(&box);
  layout->addWidget(text);
  auto* row = new QHBoxLayout;
  row->addStretch(1);
  row->addWidget(help);
  row->addWidget(done);
  layout->addLayout(row);
  QApplication::beep();
  RunDialog(box);
}

// ---- About ---------------------------------------------------------------------------

void DoAbout(QWidget* parent) {
  QDialog box(parent);
  box.setObjectName("AboutBox");
  box.setWindowTitle("About Ochrel");
  auto* banner = new QLabel(&box);
  banner->setPixmap(QPixmap::fromImage(Banner(QSize(307, 93))));
  auto* name = new QLabel(QString("Ochrel %1").arg(kOchrelVersion), &box);
  name->setObjectName("version");
  QFont big = name->font();
  big.setPointSize(big.pointSize() + 4);
  big.setBold(true);
  name->setFont(big);
  auto* notice = new QLabel(QString::fromLatin1(kNotice), &box);
  notice->setWordWrap(true);
  auto* credits = new QPushButton("Credits...", &box);
  credits->setObjectName("credits");
  QObject::connect(credits, &QPushButton::clicked, &box, [&box] {
    QDialog c(&box);
    c.setObjectName("CreditsBox");
    c.setWindowTitle("Credits");
    auto* text = new QLabel(
        "Ochrel is built with Qt, libpng, libjpeg-turbo and zlib.\n"
        "Thanks to everyone who wrote, tested and used it.",
        &c);
    auto* ok = new QPushButton("OK", &c);
    QObject::connect(ok, &QPushButton::clicked, &c, &QDialog::accept);
    auto* l = new QVBoxLayout(&c);
    l->addWidget(text);
    l->addWidget(ok, 0, Qt::AlignRight);
    RunDialog(c);
  });
  auto* ok = new QPushButton("OK", &box);
  ok->setObjectName("1");
  ok->setDefault(true);
  QObject::connect(ok, &QPushButton::clicked, &box, &QDialog::accept);
  auto* layout = new QVBoxLayout(&box);
  layout->addWidget(banner);
  layout->addWidget(name);
  layout->addWidget(notice);
  auto* row = new QHBoxLayout;
  row->addWidget(credits);
  row->addStretch(1);
  row->addWidget(ok);
  layout->addLayout(row);
  RunDialog(box);
}

}  // namespace ochrel
