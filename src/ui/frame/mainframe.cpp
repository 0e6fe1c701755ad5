#include "ui/frame/mainframe.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QColorDialog>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>
#include <QGuiApplication>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <memory>

#include "files/imagefile.h"
#include "frame/blockset.h"
#include "image/convert.h"
#include "frame/commands.h"
#include "frame/config.h"
#include "frame/menustate.h"
#include "frame/options.h"
#include "frame/view.h"
#include "frame/paths.h"
#include "frame/recentpaths.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "ui/dialogs/image/convertdialogs.h"
#include "ui/document/clipboard.h"
#include "ui/document/documentwindow.h"
#include "ui/dialogs/files/filedialogs.h"
#include "ui/frame/fillmenu.h"
#include "ui/frame/commandtable.h"
#include "ui/widgets/icons.h"
#include "render/screen.h"
#include "ui/widgets/longwork.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"
#include "ui/frame/recoveryservice.h"
#include "ui/frame/settingswindow.h"
#include "ui/frame/startup.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/frame/toolbox.h"
#include "tools/toolsession.h"

namespace ochrel {

namespace {
MainFrame::SavePathAnswerer g_saveAnswerer;
MainFrame::OpenPathAnswerer g_openAnswerer;
int g_shiftOverride = -1;

QColor ToQColor(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

// The button's picture as a black silhouette, shown while the mouse is over it
// (live buttons, kind 1).
class HoverSilhouette : public QObject {
 public:
  HoverSilhouette(QToolButton* button, const QIcon& normal) : QObject(button), normal_(normal) {
    const QSize size = button->iconSize();
    QImage shape = normal.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32);
    QImage black(shape.size(), QImage::Format_ARGB32);
    black.fill(Qt::transparent);
    // Inset by 2 from the button's edge: the icon stands 3 in, so 1 more off each side.
    for (int y = 1; y < shape.height() - 1; ++y)
      for (int x = 1; x < shape.width() - 1; ++x)
        if (qAlpha(shape.pixel(x, y)) > 0) black.setPixel(x, y, qRgba(0, 0, 0, 255));
    hover_ = QIcon(QPixmap::fromImage(black));
    button->installEventFilter(this);
  }
  bool eventFilter(QObject* watched, QEvent* e) override {
    auto* b = static_cast<QToolButton*>(watched);
    if (e->type() == QEvent::Enter && b->isEnabled()) b->setIcon(hover_);
    else if (e->type() == QEvent::Leave || e->type() == QEvent::EnabledChange) b->setIcon(normal_);
    return false;
  }

 private:
  QIcon normal_, hover_;
};
}  // namespace

// ---- Button bar ---------------------------------------------------------------

ButtonBar::ButtonBar(QWidget* parent) : QWidget(parent) {
  setObjectName("VarnwickStudioPaintBar");
  setFixedHeight(34);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setAutoFillBackground(true);
  zoom_ = new QComboBox(this);
  zoom_->setObjectName("701");
  for (int v : viewmodetable) zoom_->addItem(QString::asprintf("%u percent", static_cast<unsigned>(v)));
  zoom_->setCurrentIndex(0);
  zoom_->setGeometry(3, 4, 120, 26);
  zoom_->setFocusPolicy(Qt::NoFocus);
  connect(zoom_, &QComboBox::activated, this, [this] { emit command(CM_ZOOMLIST); });
  int x = 131;
  for (const char* p = ButtonList; *p; ++p) {
    unsigned byte = static_cast<unsigned char>(*p);
    int id = static_cast<int>(byte & 0x7F);
    if (id >= 50 && id <= 62) {
      auto* b = new QToolButton(this);
      b->setObjectName(QString::number(id));
      b->setIcon(CommandIcon(id));
      b->setIconSize(QSize(19, 19));
      // Live buttons: 0 plain, 1 the picture darkens under the mouse, 2 the edge shows only there.
      b->setAutoRaise(LiveButtons == 2);
      if (LiveButtons == 1) new HoverSilhouette(b, b->icon());
      b->setGeometry(x, 4, 25, 25);
      b->setToolTip(QString::fromUtf8(FetchString(IDS_TIP_BASE + id)));
      b->setFocusPolicy(Qt::NoFocus);
      connect(b, &QToolButton::clicked, this, [this, id] { emit command(id); });
      buttons_[id] = b;
      x += 29;
      if (byte & 0x80) x += 10;
    }
  }
}

QToolButton* ButtonBar::button(int command) const {
  auto it = buttons_.find(command);
  return it == buttons_.end() ? nullptr : it->second;
}

// ---- Status bar -----------------------------------------------------------------

SwatchButton::SwatchButton(int id, QWidget* parent) : QWidget(parent), id_(id) {
  setObjectName(QString::number(id));
  setCursor(Qt::PointingHandCursor);
}

void SwatchButton::setColour(COLORREF c) {
  if (c == colour_) return;
  colour_ = c;
  update();
}

void SwatchButton::setSample(const QImage& sample) {
  sample_ = sample;
  update();
}

void SwatchButton::setNeutral(bool neutral) {
  if (neutral == neutral_) return;
  neutral_ = neutral;
  update();
}

void SwatchButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  QRect r = rect().adjusted(0, 0, -1, -1);
  if (neutral_) p.fillRect(r, palette().color(QPalette::Button));
  else if (!sample_.isNull()) p.drawImage(r, sample_);
  else p.fillRect(r, ToQColor(colour_));
  p.setPen(palette().color(QPalette::Dark));
  p.drawRect(r);
}

void SwatchButton::mousePressEvent(QMouseEvent* e) {
  if (e->button() == Qt::RightButton && id_ == CM_FILLSWATCH) emit rightClicked(id_, e->globalPosition().toPoint());
  else emit clicked(id_);
}

StatusBar::StatusBar(QWidget* parent) : QWidget(parent) {
  setObjectName("VarnwickStudioPaintStatusBar");
  setFixedHeight(20);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setAutoFillBackground(true);
  QFont small = font();
  small.setPixelSize(11);
  int x = 3;
  const std::pair<const char*, int> parts[3] = {
      {"Paint: ", CM_PAINTSWATCH}, {"Paper: ", CM_PAPERSWATCH}, {"Fill: ", CM_FILLSWATCH}};
  for (const auto& [text, id] : parts) {
    auto* label = new QLabel(text, this);
    label->setFont(small);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const int w = std::max(34, QFontMetrics(small).horizontalAdvance(QString::fromLatin1(text)) + 2);
    label->setGeometry(x, 2, w, 16);
    auto* swatch = new SwatchButton(id, this);
    swatch->setGeometry(x + w + 2, 4, 20, 12);
    connect(swatch, &SwatchButton::clicked, this, &StatusBar::command);
    connect(swatch, &SwatchButton::rightClicked, this, &StatusBar::rightClicked);
    swatches_[id] = swatch;
    x += w + 2 + 20 + 4;
  }
  message_ = new QLabel(this);
  message_->setObjectName("504");
  message_->setFont(small);
  message_->setGeometry(x + 8, 2, 220, 16);
  message_->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

SwatchButton* StatusBar::swatch(int id) const {
  auto it = swatches_.find(id);
  return it == swatches_.end() ? nullptr : it->second;
}

// ---- Frame ------------------------------------------------------------------------

MainFrame::MainFrame(QWidget* parent) : QMainWindow(parent) {
  SetActiveFrameServices(this);
  setObjectName("VarnwickStudioPaintProfessional");
  setWindowTitle(QString::fromUtf8(FetchString(IDS_TITLE)));
  // The settings come first: the bar reads ButtonList, the documents their defaults.
  LoadConfig();
  LoadMenuConfig();
  // The application folder is where the colour tables, libraries and help live.
  ComputeApplicationPath();
  if (!OpenPath[0]) std::snprintf(OpenPath, sizeof OpenPath, "%s", ApplicationPath);

  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(1);
  bar_ = new ButtonBar(central);
  client_ = new QMdiArea(central);
  client_->setObjectName("MDICLIENT");
  client_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  client_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  client_->setAcceptDrops(true);
  client_->viewport()->setAcceptDrops(true);
  client_->viewport()->installEventFilter(this);
  client_->installEventFilter(this);
  status_ = new StatusBar(central);
  // The bars run the frame's full width, so the docked palettes stand between them.
  auto* top = addToolBar("Buttons");
  top->setObjectName("buttonbar");
  top->setMovable(false);
  top->setFloatable(false);
  top->setContentsMargins(0, 0, 0, 0);
  top->layout()->setContentsMargins(0, 0, 0, 0);
  top->setContextMenuPolicy(Qt::PreventContextMenu);
  top->addWidget(bar_);
  layout->addWidget(client_, 1);
  auto* bottom = new QToolBar("Status", this);
  bottom->setObjectName("statusbar");
  bottom->setMovable(false);
  bottom->setFloatable(false);
  bottom->layout()->setContentsMargins(0, 0, 0, 0);
  bottom->setContextMenuPolicy(Qt::PreventContextMenu);
  bottom->addWidget(status_);
  addToolBar(Qt::BottomToolBarArea, bottom);
  setCentralWidget(central);
  connect(bar_, &ButtonBar::command, this, [this](int id) { PostCommand(id); });
  connect(status_, &StatusBar::command, this, [this](int id) { PostCommand(id); });
  connect(status_, &StatusBar::rightClicked, this,
          [this](int, QPoint at) { RunFillTypeMenu(this, this, ActiveDocument(), at); });
  // The toolbox stands at the left, under the button bar.
  toolbox_ = new ToolBox(this);
  addDockWidget(Qt::LeftDockWidgetArea, toolbox_);
  connect(toolbox_, &ToolBox::toolChosen, this, [this](int t) { ChooseTool(t); });
  DocumentTools::ToolboxCommand() = [this](int t) { ChooseTool(t); };
  // The tool settings window stands at the right.
  settings_ = new SettingsWindow(this);
  addDockWidget(Qt::RightDockWidgetArea, settings_);
  MessageQueue& queue = MessageQueue::Instance();
  queue.SetWakeup([this] {
    QMetaObject::invokeMethod(
        this, [] { MessageQueue::Instance().Drain(); }, Qt::QueuedConnection);
  });
  queue.SetSink(RECV_TOOLBOX, [this](const ToolMessage& m) {
    if (m.message == UM_SELECTTOOL) toolbox_->ShowCurrent(static_cast<int>(m.wParam));
  });
  queue.SetSink(RECV_STATUSBAR, [this](const ToolMessage&) { RefreshStatus(); });
  queue.SetSink(RECV_SETTINGS, [this](const ToolMessage& m) {
    if (m.message == UM_REFRESH) settings_->ShowTool(static_cast<int>(m.lParam));
    else if (m.message == UM_COLOURCHANGED) settings_->Refresh();
  });
  connect(client_, &QMdiArea::subWindowActivated, this, [this](QMdiSubWindow* w) {
    if (auto* d = qobject_cast<DocumentWindow*>(w)) {
      ViewStateChanged(d->record()->ViewMode, d->record()->GridActive != 0);
      // The toolbox shows this document's tool, without starting or ending a session.
      SelectTool(d->tools(), d->record()->Tool);
      toolbox_->ShowCurrent(CurrentTool());
    }
    settings_->ShowDocument(qobject_cast<DocumentWindow*>(w));
    UpdateMenuStates();
    RefreshStatus();
  });

  BuildMenus();
  BuildAccelerators();
  UpdateMenuStates();
  RefreshStatus();
  connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] { UpdatePasteStates(); });
  UpdatePasteStates();

  // Geometry: inset from the screen edges by a scroll bar's width, or where the
  // frame stood last time.
  if (QScreen* screen = QGuiApplication::primaryScreen()) {
    QRect avail = screen->availableGeometry();
    int s = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    setGeometry(avail.x() + s, avail.y() + s, std::max(620, avail.width() - 2 * s),
                std::max(460, avail.height() - 2 * s));
    RECT placement;
    if (SetStickyWindows(avail.width(), avail.height(), &placement))
      setGeometry(placement.left, placement.top, placement.right - placement.left, placement.bottom - placement.top);
  }
  FileHooks hooks;
  hooks.beginWait = [] { QApplication::setOverrideCursor(Qt::WaitCursor); };
  hooks.endWait = [] { QApplication::restoreOverrideCursor(); };
  hooks.askYesNo = [this](const char* q) { return DoYesNo(this, QString::fromUtf8(q)) == IDYES; };
  hooks.closeStatus = [this] { CloseStatus(); };
  // Saving goes to its end once begun: a half-cancelled save could still replace the file.
  hooks.runWrite = [this](const std::function<int()>& write) {
    int ok = 0;
    RunLongWork(
        this, "Saving", [&write, &ok] { ok = write(); }, false);
    return ok;
  };
  SetFileHooks(hooks);
  // A texture or shadow for a large shape is made on a worker with the windows live.
  SetSlowWorkRunner([this](const char* label, const std::function<void()>& work) {
    MessageQueue::Hold hold;
    RunLongWork(this, QString::fromUtf8(label), work, false);
  });
  // Recovery copies: a picture comes back as a modified document under its path.
  recovery_ = new RecoveryService(this, {[this] {
                                           std::vector<DocumentWindow*> docs;
                                           for (QMdiSubWindow* w : client_->subWindowList())
                                             if (auto* d = qobject_cast<DocumentWindow*>(w)) docs.push_back(d);
                                           return docs;
                                         },
                                         [this](HDIB image, const std::string& path, bool hasFile) {
                                           DocumentWindow* w = CreateNewTask(path);
                                           w->record()->Image = std::move(image);
                                           w->record()->HasFile = hasFile ? 1 : 0;
                                           w->record()->Modified = 1;
                                           FinishNewDocument(w);
                                           return w;
                                         }});
}

MainFrame::~MainFrame() {
  if (ActiveFrameServices() == this) SetActiveFrameServices(nullptr);
  // The document area outlives our members while Qt tears the children down.
  client_->disconnect(this);
  for (QMdiSubWindow* w : client_->subWindowList()) delete w;
  MessageQueue& queue = MessageQueue::Instance();
  queue.SetWakeup({});
  queue.SetSink(RECV_TOOLBOX, {});
  queue.SetSink(RECV_STATUSBAR, {});
  queue.SetSink(RECV_SETTINGS, {});
  queue.Clear();
  DocumentTools::ToolboxCommand() = nullptr;
  CurrentTool() = -1;
  QGuiApplication::clipboard()->disconnect(this);
  SetFileHooks(FileHooks{});
  SetSlowWorkRunner(nullptr);
}

QAction* MainFrame::AddItem(QMenu* menu, const char* label, int id, bool grey) {
  QAction* a = menu->addAction(QString::fromUtf8(label));
  a->setData(id);
  a->setObjectName(QString::number(id));
  a->setEnabled(!grey);
  connect(a, &QAction::triggered, this, [this, id] { Command(id); });
  actions_[id] = a;
  return a;
}

void MainFrame::BuildMenus() {
  std::map<std::string, QMenu*> menus;
  // A menu by its path, made where its first row stands.
  std::function<QMenu*(const std::string&)> menuAt = [&](const std::string& path) -> QMenu* {
    if (QMenu* m = menus[path]) return m;
    const auto slash = path.rfind('/');
    QMenu* m = slash == std::string::npos
                   ? menuBar()->addMenu(QString::fromUtf8(path.c_str()))
                   : menuAt(path.substr(0, slash))->addMenu(QString::fromUtf8(path.substr(slash + 1).c_str()));
    menus[path] = m;
    return m;
  };
  for (const MenuRow& row : MenuRows()) {
    QMenu* menu = menuAt(row.menu);
    if (!row.text) menu->addSeparator();
    else AddItem(menu, row.text, row.id, row.grey)->setCheckable(row.checkable);
  }
  fileMenu_ = menus["&File"];
  windowMenu_ = menus["&Window"];
  menus["&Image/&Filters"]->setObjectName("filterMenu");
  RebuildRecentMenu();

  // With a history of Undo, how far it reaches each way.
  undoInfo_ = windowMenu_->addAction(QString());
  undoInfo_->setObjectName("undoSteps");
  undoInfo_->setEnabled(false);
  undoInfo_->setVisible(false);
  // The open documents, listed under the separator as the window menu does.
  connect(windowMenu_, &QMenu::aboutToShow, this, [this] {
    for (QAction* a : windowMenu_->actions())
      if (a->property("documentEntry").toBool()) {
        windowMenu_->removeAction(a);
        a->deleteLater();
      }
    const auto windows = client_->subWindowList();
    if (!windows.isEmpty()) windowMenu_->addSeparator()->setProperty("documentEntry", true);
    int n = 1;
    for (QMdiSubWindow* w : windows) {
      QAction* a = windowMenu_->addAction(QString("&%1 %2").arg(n++).arg(w->windowTitle()));
      a->setProperty("documentEntry", true);
      a->setCheckable(true);
      a->setChecked(w == client_->activeSubWindow());
      connect(a, &QAction::triggered, this, [this, w] { client_->setActiveSubWindow(w); });
    }
  });
}

void MainFrame::BuildAccelerators() {
  for (const ShortcutRow& row : ShortcutRows()) {
    auto* sc = new QShortcut(QKeySequence(row.keys), this);
    sc->setContext(Qt::WindowShortcut);
    connect(sc, &QShortcut::activated, this, [this, id = row.id] {
      // A greyed menu item's accelerator does nothing either.
      if (QAction* a = action(id); a && !a->isEnabled()) return;
      Command(id);
    });
  }
}

void MainFrame::RebuildRecentMenu() {
  for (QAction* a : recentActions_) {
    fileMenu_->removeAction(a);
    a->setObjectName(QString());
    a->deleteLater();
  }
  recentActions_.clear();
  const auto& items = RecentPathList().Items();
  if (items.empty()) return;
  recentActions_.push_back(fileMenu_->addSeparator());
  int id = CM_RECENT;
  for (const std::string& path : items) {
    QAction* a = fileMenu_->addAction(QString::fromStdString(path));
    a->setData(id);
    a->setObjectName(QString::number(id));
    connect(a, &QAction::triggered, this, [this, path] { OpenFile(path); });
    recentActions_.push_back(a);
    ++id;
  }
}

void MainFrame::AddRecentPath(const std::string& path) {
  if (RecentPathList().Add(path)) RebuildRecentMenu();
}

QAction* MainFrame::action(int id) const {
  auto it = actions_.find(id);
  return it == actions_.end() ? nullptr : it->second;
}

DocumentWindow* MainFrame::ActiveDocument() const { return qobject_cast<DocumentWindow*>(client_->activeSubWindow()); }

int MainFrame::CountOpenDocuments() const {
  int n = 0;
  for (QMdiSubWindow* w : client_->subWindowList())
    if (qobject_cast<DocumentWindow*>(w)) ++n;
  return n;
}

void MainFrame::ChooseTool(int tool) {
  DocumentWindow* top = ActiveDocument();
  if (top) client_->setActiveSubWindow(top);
  if (ChangeTool(top ? top->tools() : nullptr, tool)) toolbox_->ShowCurrent(CurrentTool());
  else toolbox_->ShowCurrent(CurrentTool());
  settings_->ShowDocument(top);
  settings_->ShowTool(CurrentTool() >= 0 ? CurrentTool() : tool);
  UpdateMenuStates();
}

void MainFrame::StatusText(const QString& text) { status_->message()->setText(text); }

void MainFrame::UpdateMenuStates() {
  DocumentWindow* d = ActiveDocument();
  if (undoInfo_) {
    const UndoHistory* h = d ? d->record()->History.get() : nullptr;
    const int back = h ? static_cast<int>(h->UndoCount()) + (d->record()->UndoImage ? 1 : 0) : 0;
    undoInfo_->setVisible(UndoSteps > 1 && d);
    undoInfo_->setText(QString("Undo: %1 back, %2 forward").arg(back).arg(h ? static_cast<int>(h->RedoCount()) : 0));
  }
  for (const auto& [id, enabled] : ComputeMenuStates(d ? d->record() : nullptr)) {
    if (QAction* a = action(id)) a->setEnabled(enabled);
    if (QToolButton* b = bar_->button(id)) b->setEnabled(enabled);
  }
  if (d) d->UpdateTitle();
  if (QAction* a = action(CM_HIDETOOLBAR)) a->setChecked(toolbox_->isHidden());
  if (QAction* a = action(CM_HIDESETTINGS)) a->setChecked(settings_->isHidden());
}

void MainFrame::RefreshStatus() {
  DocumentWindow* d = ActiveDocument();
  BLOCKSET* r = d ? d->record() : nullptr;
  for (int id : {CM_PAINTSWATCH, CM_PAPERSWATCH, CM_FILLSWATCH}) status_->swatch(id)->setNeutral(!r);
  if (!r) {
    status_->swatch(CM_FILLSWATCH)->setSample(QImage());
    return;
  }
  status_->swatch(CM_PAINTSWATCH)->setColour(GetPaintColour(r));
  status_->swatch(CM_PAPERSWATCH)->setColour(GetPaperColour(r));
  SwatchButton* fill = status_->swatch(CM_FILLSWATCH);
  fill->setColour(GetFillColour(r));
  // A gradient, texture or tile shows as a sample at the swatch's size; the
  // colour stands in when the sample can't be had.
  QImage sample;
  if (r->FillType != 0) {
    HDIB dib = GetFillImage(r, RECT{0, 0, fill->width(), fill->height()});
    if (const BITMAPINFOHEADER* h = LockDib(dib)) sample = DibToQImage(h);
  }
  fill->setSample(sample);
}

bool MainFrame::AskOpenPath(QWidget* parent, std::string* path) {
  if (g_openAnswerer) return g_openAnswerer(path);
  *path = OpenPath;
  return GetOpenImageFileName(parent, path);
}

void MainFrame::UpdatePasteStates() {
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  bool image = data && (data->hasImage() || data->hasFormat("image/png") || data->hasFormat("image/bmp") ||
                        (data->hasUrls() && data->urls().size() == 1 && data->urls()[0].isLocalFile()));
  bool text = data && data->hasText();
  if (QAction* a = action(CM_PASTE)) a->setEnabled(image || text);
  if (QAction* a = action(CM_PASTENEW)) a->setEnabled(image);
}

void MainFrame::PostCommand(int id) {
  QMetaObject::invokeMethod(
      this, [this, id] { Command(id); }, Qt::QueuedConnection);
}

bool MainFrame::ShiftDown() const {
  if (g_shiftOverride >= 0) return g_shiftOverride != 0;
  return QGuiApplication::queryKeyboardModifiers() & Qt::ShiftModifier;
}

void MainFrame::SetShiftOverride(int state) { g_shiftOverride = state; }
void MainFrame::SetSavePathAnswerer(SavePathAnswerer answerer) { g_saveAnswerer = std::move(answerer); }
void MainFrame::SetOpenPathAnswerer(OpenPathAnswerer answerer) { g_openAnswerer = std::move(answerer); }

void MainFrame::Command(int id) {
  if (id == CM_EXIT) {
    if (ShiftDown()) SaveConfig();
    else close();
    return;
  }
  switch (id) {
    case CM_NEW: DoNewCommand(); break;
    case CM_OPEN: DoOpenCommand(); break;
    case CM_HIDETOOLBAR:
    case CM_HIDESETTINGS: {
      // The item is checked while its window is hidden.
      QWidget* w = id == CM_HIDETOOLBAR ? static_cast<QWidget*>(toolbox_) : static_cast<QWidget*>(settings_);
      w->setVisible(w->isHidden());
      break;
    }
    case CM_CASCADE: client_->cascadeSubWindows(); break;
    case CM_TILE: client_->tileSubWindows(); break;
    case CM_ARRANGE: ArrangeIcons(client_); break;
    case CM_PRINT:
    case CM_DELETE: break;  // accelerators without an action
    case CM_HELP: DoHelp(this, "INDEX"); break;
    case CM_SETUP:
      DoSetup(this);
      setWindowTitle(QString::fromUtf8(FetchString(IDS_TITLE)));
      break;
    case CM_MANUAL: ShowManual(this); break;
    case CM_ABOUT: DoAbout(this); break;
    case CM_SYSINFO: ShowSysInfo(this); break;
    case CM_TIPOFTHEDAY: ShowTipDialog(this); break;
    case CM_PASTENEW: {
      HDIB dib = ClipboardPicture(QGuiApplication::clipboard()->mimeData(), static_cast<COLORREF>(DefaultPaperColour));
      if (!dib) DoMessage(this, FetchString(IDS_BLOCK_ERROR));
      else NewFromDib(dib);
      break;
    }
    case CM_DUPLICATE: DoDuplicate(); break;
    case CM_ZOOMLIST:
      if (DocumentWindow* d = ActiveDocument()) d->ChangeScale(bar_->zoomList()->currentIndex());
      break;
    case CM_TOTRUECOLOUR:
    case CM_TOGREY:
    case CM_TOPALETTE:
    case CM_TOMONO: DoConvert(id); break;
    default:
      if (id >= CM_RECENT && id < CM_RECENT + static_cast<int>(FileMenuRange)) {
        const auto& items = RecentPathList().Items();
        std::size_t k = static_cast<std::size_t>(id - CM_RECENT);
        if (k < items.size()) OpenFile(items[k]);
        break;
      }
      if (DocumentWindow* d = ActiveDocument()) {
        if (!d->Command(id) && id >= CM_PAINTSWATCH && id <= CM_PAPERSWATCH) {
          BLOCKSET* r = d->record();
          const int code = id == CM_PAINTSWATCH ? COLOUR_PAINT : id == CM_FILLSWATCH ? COLOUR_FILL : COLOUR_PAPER;
          COLORREF* field = code == COLOUR_PAINT  ? &r->PaintColour
                            : code == COLOUR_FILL ? &r->FillColour
                                                  : &r->PaperColour;
          int* setting = code == COLOUR_PAINT  ? &DefaultPaintColour
                         : code == COLOUR_FILL ? &DefaultFillColour
                                               : &DefaultPaperColour;
          if (DoColourSelect(d, r, field, setting, code)) {
            // A palette edit changes the picture itself.
            d->view()->InvalidateAll();
            if (r->ToolWindow) d->tools()->Post(RECV_TOOL, UM_COLOURCHANGED, code, static_cast<std::int64_t>(*field));
            settings_->Refresh();
          }
          RefreshStatus();
        }
      }
      break;
  }
  UpdateMenuStates();
}

DocumentWindow* MainFrame::CreateNewTask(const std::string& path) {
  auto* w = new DocumentWindow(this, path);
  client_->addSubWindow(w);
  // Step in from the left: ten documents make one diagonal run.
  int n = (CountOpenDocuments() - 1) % 10;
  int caption = style()->pixelMetric(QStyle::PM_TitleBarHeight);
  int frame = style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
  w->move(n * (caption + frame), n * (caption + frame));
  w->resize(180, 180);
  w->show();
  client_->setActiveSubWindow(w);
  return w;
}

void MainFrame::FinishNewDocument(DocumentWindow* w) {
  BLOCKSET* r = w->record();
  SetImageType(r);
  AdjustToolColours(r);
  w->SetBrowserSize();
  w->view()->SetScrollBars(-1, -1);
  w->UpdateTitle();
  ViewStateChanged(r->ViewMode, r->GridActive != 0);
  // The document's tool goes to the toolbox as a command.
  QPointer<DocumentWindow> doc(w);
  QMetaObject::invokeMethod(
      this,
      [this, doc] {
        if (doc && doc == ActiveDocument()) ChooseTool(doc->record()->Tool);
      },
      Qt::QueuedConnection);
  UpdateMenuStates();
  RefreshStatus();
}

void MainFrame::DoNewCommand() {
  NEWFILEPARAM param;
  if (!GetNewFileParam(this, &param)) return;
  DocumentWindow* w = CreateNewTask(OpenPath);
  BLOCKSET* r = w->record();
  DoNew(r);
  r->Image = CreateNewImage(param);
  if (!r->Image) {
    DoMessage(this, FetchString(IDS_MEMORY_ERROR));
    w->Discard();
    return;
  }
  r->PaperColour = param.colour;
  FinishNewDocument(w);
}

void MainFrame::OpenFile(const std::string& path) {
  LoadDocument(CleanFileName(path));
  UpdateMenuStates();
}

void MainFrame::OpenCommandLine(const QStringList& args) {
  if (args.isEmpty()) return;
  const QString whole = args.join(' ');
  if (args.size() > 1 && QFileInfo(whole).isFile()) {
    OpenFile(whole.toStdString());
    return;
  }
  // Each on its own: one that can't be read says so, and the rest still open.
  for (const QString& a : args) OpenFile(a.toStdString());
}

void MainFrame::DoOpenCommand() {
  std::string path;
  if (!AskOpenPath(this, &path)) return;
  SetOpenPath(path);
  LoadDocument(path);
}

void MainFrame::LoadDocument(const std::string& path) {
  DocumentWindow* w = CreateNewTask(path);
  BLOCKSET* r = w->record();
  auto loaded = std::make_shared<HDIB>();
  auto ok = std::make_shared<int>(0);
  if (RunLongWork(this, "Opening", [loaded, ok, path] { *ok = LoadGraphicFile(*loaded, path.c_str()); }) ==
      LongWorkEnd::Cancelled) {
    w->Discard();
    return;
  }
  r->Image = std::move(*loaded);
  if (!*ok) {
    // The frame may close while the message stands (the quit timer of smoke tests).
    QPointer<DocumentWindow> guard(w);
    DoMessage(this, FetchString(IDS_ERROR_READING));
    if (guard) guard->Discard();
    return;
  }
  r->HasFile = 1;
  r->Modified = 0;
  AddRecentPath(path);
  FinishNewDocument(w);
}

DocumentWindow* MainFrame::NewFromDib(const HDIB& image) {
  DocumentWindow* w = CreateNewTask(FolderOf(OpenPath) + GetUntitledFileName());
  BLOCKSET* r = w->record();
  DoNew(r);
  r->Image = DuplicateObject(image);
  if (!r->Image) {
    DoMessage(this, FetchString(IDS_MEMORY_ERROR));
    w->Discard();
    return nullptr;
  }
  r->PaperColour = 0xFFFFFF;
  FinishNewDocument(w);
  return w;
}

void MainFrame::DoDuplicate() {
  DocumentWindow* source = ActiveDocument();
  if (!source || !source->record()->Image) return;
  source->CommitSelection();
  DocumentWindow* w = CreateNewTask(AddCurrentPath(GetUntitledFileName()));
  BLOCKSET* r = w->record();
  r->Image = DuplicateObject(source->record()->Image);
  if (!r->Image) {
    DoMessage(this, FetchString(IDS_MEMORY_ERROR));
    w->Discard();
    return;
  }
  r->Modified = 1;
  FinishNewDocument(w);
}

void MainFrame::DoConvert(int id) {
  DocumentWindow* source = ActiveDocument();
  if (!source || !source->record()->Image) return;
  source->CommitSelection();
  // The converted image comes first; the source is left as it is.
  HDIB converted;
  if (id == CM_TOPALETTE || id == CM_TOMONO) {
    // These ask first; a cancelled dialog opens nothing, and the dialog has
    // already said "Memory error" when the conversion failed.
    const HDIB& image = source->record()->Image;
    converted = id == CM_TOPALETTE ? ConvertToPalette(this, image) : ConvertToMono(this, image);
    if (!converted) return;
  } else {
    bool cancelled = false;
    converted = RunLongImageWork(
        this, "Converting", source->record()->Image,
        [id](const HDIB& image) { return id == CM_TOTRUECOLOUR ? ConvertToTrueColour(image) : ConvertToGrey(image); },
        &cancelled);
    if (cancelled) return;
    if (!converted) {
      DoMessage(this, FetchString(IDS_MEMORY_ERROR));
      return;
    }
  }
  DocumentWindow* w = CreateNewTask(OpenPath);
  BLOCKSET* r = w->record();
  DoNew(r);
  r->Image = std::move(converted);
  FinishNewDocument(w);
}

bool MainFrame::WriteDocument(QWidget*, const HDIB& image, const std::string& path) {
  return image && WriteGraphicFile(image, path.c_str(), SaveOptionsFromSettings()) != 0;
}

void MainFrame::ViewStateChanged(int viewMode, bool gridActive) {
  bar_->zoomList()->setCurrentIndex(std::clamp(viewMode, 0, 10));
  if (QAction* grid = action(CM_GRIDACTIVE)) grid->setChecked(gridActive);
}

bool MainFrame::OpenAsNewDocument(const HDIB& image) { return NewFromDib(image) != nullptr; }

bool MainFrame::AskSavePath(QWidget* parent, const std::string& start, std::string* path) {
  if (g_saveAnswerer) return g_saveAnswerer(start, path);
  return GetWriteImageFileName(parent, start, path);
}

void MainFrame::DropFiles(const QStringList& paths) {
  raise();
  activateWindow();
  for (const QString& p : paths) {
    const std::string path = p.toStdString();
    if (FindImageFormat(path.c_str()) >= 0) OpenFile(path);
  }
}

bool MainFrame::eventFilter(QObject* watched, QEvent* event) {
  if (watched == client_->viewport() || watched == client_) {
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove) {
      auto* e = static_cast<QDropEvent*>(event);
      if (e->mimeData()->hasUrls()) {
        e->acceptProposedAction();
        return true;
      }
    } else if (event->type() == QEvent::Drop) {
      auto* e = static_cast<QDropEvent*>(event);
      QStringList paths;
      for (const QUrl& u : e->mimeData()->urls())
        if (u.isLocalFile()) paths << u.toLocalFile();
      e->acceptProposedAction();
      DropFiles(paths);
      return true;
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

bool MainFrame::CloseAllChildren() {
  for (;;) {
    const auto windows = client_->subWindowList();
    if (windows.isEmpty()) return true;
    QMdiSubWindow* w = windows.first();
    QPointer<QMdiSubWindow> alive(w);
    w->close();
    // A refused close leaves the window standing.
    if (alive && !alive->isHidden() && client_->subWindowList().contains(w)) return false;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

void MainFrame::closeEvent(QCloseEvent* event) {
  if (QScreen* screen = this->screen()) {
    QRect g = geometry();
    GetStickyWindows(RECT{g.left(), g.top(), g.right() + 1, g.bottom() + 1}, isMaximized(), screen->geometry().width(),
                     screen->geometry().height());
  }
  StartMaximized = isMaximized() ? 1 : 0;
  if (OkToSaveConfig) SaveConfig();
  if (!CloseAllChildren()) {
    event->ignore();
    return;
  }
  event->accept();
}

void MainFrame::moveEvent(QMoveEvent* event) { QMainWindow::moveEvent(event); }

void MainFrame::FocusDocument() {
  if (DocumentWindow* d = ActiveDocument(); d && d->record()->ToolWindow) d->view()->setFocus();
}

void MainFrame::changeEvent(QEvent* event) {
  // Back from an icon: the active document's tool takes the keyboard again.
  if (event->type() == QEvent::WindowStateChange && !isMinimized())
    QMetaObject::invokeMethod(
        this, [this] { FocusDocument(); }, Qt::QueuedConnection);
  QMainWindow::changeEvent(event);
}

}  // namespace ochrel
