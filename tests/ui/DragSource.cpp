// Another program to drag from: a window in the corner of the screen that offers what the command line says.
//   drag_source TYPE CONTENT    or @FILE, which holds the content
// It has the same on the clipboard: what other programs give away, tests and benchmarks take from here.
// Prints "ready", "dragging", "accepted" when the target would take it, and what became of the drag: "copy" or
// "nothing". Stays, for the target asks for the content only then.

#include <cstdio>

#include <QClipboard>
#include <QDrag>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QRasterWindow>

namespace {

void say(const char* word) {
  std::puts(word);
  std::fflush(stdout);
}

class Source : public QRasterWindow {
 public:
  Source(QString type, QByteArray content) : type_(std::move(type)), content_(std::move(content)) {
    setFlag(Qt::FramelessWindowHint);
    setGeometry(20, 20, 120, 80);
  }

 protected:
  void exposeEvent(QExposeEvent* event) override {
    QRasterWindow::exposeEvent(event);
    if (isExposed() && !isReady_) say("ready");
    isReady_ = isReady_ || isExposed();
  }

  void mouseMoveEvent(QMouseEvent* event) override {
    if (event->buttons() != Qt::LeftButton || isDragging_) return;
    isDragging_ = true;
    auto* data = new QMimeData;
    data->setData(type_, content_);
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    connect(drag, &QDrag::actionChanged, this, [](Qt::DropAction action) {
      if (action == Qt::CopyAction) say("accepted");
    });
    say("dragging");
    say(drag->exec(Qt::CopyAction | Qt::MoveAction) == Qt::CopyAction ? "copy" : "nothing");
  }

 private:
  QString type_;
  QByteArray content_;
  bool isReady_ = false;
  bool isDragging_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  if (argc != 3) return 2;
  const QString type = QString::fromUtf8(argv[1]);
  QByteArray content = argv[2];
  if (content.startsWith('@')) {
    QFile file(QFile::decodeName(content.mid(1)));
    if (!file.open(QFile::ReadOnly)) return 1;
    content = file.readAll();
  }
  auto* copied = new QMimeData;
  copied->setData(type, content);
  QGuiApplication::clipboard()->setMimeData(copied);
  Source source(type, content);
  source.show();
  return QGuiApplication::exec();
}
