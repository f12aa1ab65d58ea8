#include "ui/window/TallyfoldApp.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <QFont>
#include <QIcon>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPointer>
#include <QQuickWindow>
#include <QSessionManager>
#include <QSettings>
#include <QStyleFactory>

#include "app/tasks/BackgroundTask.h"
#include "ui/TallyTheme/IconProvider.h"
#include "ui/drops/DropHandling.h"

// Made by the build from the types that this floor registers.
extern void qml_register_types_TallyFold();

// The screens as the build has compiled them. Of a library the linker takes only what is asked for; without these each
// user's first start would compile the screens again, and keep the outcome in that user's home folder.
static void useCompiledScreens() { Q_INIT_RESOURCE(qmlcache_tallyfold_ui); }

namespace tallyfold {

namespace {

using namespace std::chrono_literals;

// A desktop with a face of its own has said so; a bare X server has only fontconfig's alias for "any".
void chooseFont() {
  QFont font = QApplication::font();
  if (font.family() != QLatin1String("Sans Serif")) return;
  font.setFamilies({QStringLiteral("Inter"), font.family()});
  QApplication::setFont(font);
}

// Without OpenGL, or with an OpenGL that is only emulated, the toolkit's own drawing is the faster and the leaner one.
bool hasGraphicsProcessor() {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  if (!context.create() || !context.makeCurrent(&surface)) return false;
  const GLubyte* name = context.functions()->glGetString(GL_RENDERER);
  const QString renderer = QString::fromLatin1(reinterpret_cast<const char*>(name));
  return !renderer.contains(QLatin1String("llvmpipe")) && !renderer.contains(QLatin1String("softpipe"));
}

// What is asked once, when the toolkit and with it the drivers and their threads come.
int& prepared(int& argc) {
#ifdef __GLIBC__
  // One heap for all threads: what a list of 100,000 dropped URLs leaves free is used again for the results. A heap
  // that a thread has got by now would be used by later ones too.
  mallopt(M_ARENA_MAX, 1);
#endif
  // The toolkit and Mesa would keep the few shaders of the window in the user's home folder.
  QCoreApplication::setAttribute(Qt::AA_DisableShaderDiskCache);
  qputenv("MESA_SHADER_CACHE_DISABLE", "true");
  return argc;
}

}  // namespace

TallyfoldApp::TallyfoldApp(int& argc, char** argv) : application_(prepared(argc), argv) {
  // Past a limit on file sizes a write must fail like any other, and not end the program.
  std::signal(SIGXFSZ, SIG_IGN);
  QApplication::setApplicationName(QStringLiteral("tally-fold"));
  QApplication::setApplicationDisplayName(QStringLiteral("Tally Fold"));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(ApplicationOnBus::name));
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/tallyfold.svg")));
  // The window is never brought back by the desktop's session.
  QObject::connect(&application_, &QGuiApplication::saveStateRequest, &application_,
                   [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
  // Nothing is kept between two runs; the toolkit's own file panels would store where they were last.
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
  chooseFont();
  // The one style of the toolkit whose panels, where the desktop has none, take all the colours that they are given.
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

  if (!hasGraphicsProcessor()) QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  // The drivers have asked. Programs that are started from here are none of ours.
  qunsetenv("MESA_SHADER_CACHE_DISABLE");

  useCompiledScreens();
  qml_register_types_TallyFold();
  engine_.addImportPath(QStringLiteral("qrc:/qml"));
  engine_.addImageProvider(QStringLiteral("icons"), new IconProvider);
  engine_.setInitialProperties({{QStringLiteral("viewModel"), QVariant::fromValue(&viewModel_)}});
  // As a URL: of text the toolkit would first ask whether it is a file in the current folder.
  engine_.load(QUrl(QStringLiteral("qrc:/qml/TallyFold/window/ContentView.qml")));
  window_ = engine_.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine_.rootObjects().constFirst());
  if (window_ == nullptr) qFatal("The window could not be built.");
  desktop_.setWindow(window_);
  guard_.emplace(*window_, viewModel_);

  QObject::connect(&onBus_, &ApplicationOnBus::activated, window_,
                   [this](const QString& token) { comeToFront(token); });
  QObject::connect(&onBus_, &ApplicationOnBus::openRequested, window_,
                   [this](const QStringList& locations) { open(locations); });
  const auto goOn = [this] { openWaiting(); };
  QObject::connect(&viewModel_, &AppViewModel::errorMessageChanged, window_, goOn, Qt::QueuedConnection);
  QObject::connect(viewModel_.files(), &FilesFlow::isExportingChanged, window_, goOn, Qt::QueuedConnection);
  QObject::connect(viewModel_.manifest(), &ManifestFlow::isLoadingManifestChanged, window_, goOn, Qt::QueuedConnection);
  for (const Saver* saver : std::initializer_list<const Saver*>{viewModel_.manifest()->manifestExport(),
                                                                viewModel_.listCreation()->saver()}) {
    QObject::connect(saver, &Saver::isSavingChanged, window_, goOn, Qt::QueuedConnection);
  }
  onBus_.join();
}

int TallyfoldApp::run() { return leave(QApplication::exec()); }

void TallyfoldApp::comeToFront(const QString& token) {
  window_->setWindowStates(window_->windowStates() & ~Qt::WindowMinimized);
  window_->raise();
  // Not over its own panel, which keeps the window from being used.
  QWindow* const panel = guard_->panel();
  if (panel != nullptr) panel->raise();
  // The toolkit takes it from there.
  if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
  (panel != nullptr ? panel : window_)->requestActivate();
  qunsetenv("XDG_ACTIVATION_TOKEN");
}

void TallyfoldApp::open(const QStringList& locations) {
  const QPointer<QQuickWindow> window(window_);
  // The list that there is now: by the time that a slow disk has answered, the user may have chosen another.
  DropOutcome outcome = {
      [this, window, listBefore = viewModel_.manifest()->manifestURL()](const QList<QUrl>& files) {
        if (!window) return;
        waiting_.append({.files = files, .listBefore = listBefore});
        openWaiting();
      },
      [this, window](const QString& sentence) {
        if (window) viewModel_.setErrorMessage(sentence);
      },
  };
  resolveFileURLs(locations, std::move(outcome), Droppable::filesAndFolders);
}

// Not below a panel, which is answered first: what it is asked for is about what is there now. And what is said of a
// report, or will be, is not to go with what it is about. Of several lists one is read: to read them one by one would
// be to show none of them but the last, and to wait for each as long as its disk takes.
void TallyfoldApp::openWaiting() {
  while (!waiting_.isEmpty()) {
    if (QWindow* const panel = guard_->panel()) {
      QObject::connect(
          panel, &QObject::destroyed, window_, [this] { openWaiting(); }, Qt::QueuedConnection);
      return;
    }
    const bool isSaving = viewModel_.files()->isExporting() || viewModel_.manifest()->manifestExport()->isSaving() ||
                          viewModel_.listCreation()->saver()->isSaving();
    if (isSaving || !viewModel_.errorMessage().isEmpty()) return;
    // Whether another list could be read is said first.
    const ManifestFlow& manifest = *viewModel_.manifest();
    if (manifest.isLoadingManifest() && waiting_.constFirst().listBefore != manifest.manifestURL()) return;
    Opened opened = waiting_.takeFirst();
    const std::optional<QUrl> list = AppViewModel::listAmong(opened.files);
    QList<QUrl> others;
    waiting_.removeIf([&](const Opened& waiting) {
      const std::optional<QUrl> other = list ? AppViewModel::listAmong(waiting.files) : std::nullopt;
      if (!other) return false;
      if (other == list) {
        if (waiting.files.size() > opened.files.size()) opened.files = waiting.files;  // With its folder.
        opened.listBefore = waiting.listBefore;
      } else if (!others.contains(*other)) {
        others.append(*other);
      }
      return true;
    });
    viewModel_.openFiles(opened.files, others, opened.listBefore);
  }
}

TallyfoldApp::LastThreads::~LastThreads() { (void)BackgroundTask::waitForAll(900ms); }

int TallyfoldApp::leave(int status) {
  onBus_.leave();
  const bool isSaving = viewModel_.isSaving();
  viewModel_.shutdown();
  window_->hide();
  QGuiApplication::sync();  // Nobody sees what is waited for.
  // Every worker sees the cancellation within one chunk. One that hangs in a dead file system is left behind; but a
  // slow disk that a report or a list is on its way to gets the time to answer, so that its private folder is removed.
  if (!BackgroundTask::waitForAll(isSaving ? 5s : 900ms)) std::_Exit(status);
  return status;
}

}  // namespace tallyfold
