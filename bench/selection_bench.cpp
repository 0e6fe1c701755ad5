// Selections on a 24-megapixel picture, in a real document window on Qt's
// offscreen platform: one step of dragging a 2000 by 2000 fragment (the move
// and the repaint it causes), and the magic wand from the click to the
// floating selection, on a picture made to look like a photograph.
#include <benchmark/benchmark.h>

#include <QApplication>

#include "bench_app.h"
#include <QMdiArea>

#include <cmath>
#include <cstdlib>
#include <random>

#include "frame/blockset.h"
#include "tools/selecttools.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"

namespace {

using namespace ochrel;

using bench::EnsureApp;

// A sky that fades, a ground of noisy texture and a few smooth objects: large
// regions that a wand takes whole, and busy ones that stop it at once.
HDIB Photo() {
  HDIB dib = CreateDib(6000, 4000, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  std::mt19937 rng(3);
  for (int y = 0; y < 4000; ++y) {
    BYTE* row = DibRow(h, y);
    for (int x = 0; x < 6000; ++x) {
      int r, g, b;
      if (y < 1600) {  // sky: blue getting lighter towards the horizon, a little grain
        const int n = static_cast<int>(rng() % 3);
        r = 90 + y / 40 + n;
        g = 140 + y / 40 + n;
        b = 220 + y / 200;
      } else {  // ground: grass with strong grain, and round stones
        const double dx = (x % 900) - 450.0, dy = (y % 700) - 350.0;
        if (dx * dx + dy * dy < 200.0 * 200.0) {
          r = g = b = 120 + static_cast<int>(std::sqrt(dx * dx + dy * dy) / 4);
        } else {
          const int n = static_cast<int>(rng() % 60);
          r = 40 + n;
          g = 110 + n;
          b = 30 + n / 2;
        }
      }
      row[3 * x] = static_cast<BYTE>(b);
      row[3 * x + 1] = static_cast<BYTE>(g);
      row[3 * x + 2] = static_cast<BYTE>(r);
    }
  }
  return dib;
}

struct World {
  MainFrame* frame = nullptr;
  DocumentWindow* doc = nullptr;
};

World& Setup() {
  static World w = [] {
    EnsureApp();
    World world;
    world.frame = new MainFrame;
    world.frame->resize(1920, 1080);
    world.frame->show();
    world.doc = world.frame->NewFromDib(Photo());
    world.doc->showMaximized();
    QCoreApplication::processEvents();
    return world;
  }();
  return w;
}

void Drain() { MessageQueue::Instance().Drain(); }

void DragFragment(benchmark::State& state) {
  World& w = Setup();
  DocumentTools* tools = w.doc->tools();
  BLOCKSET* r = w.doc->record();
  // A 2000 by 2000 selection, made at 50 percent where it fits the view.
  w.frame->ChooseTool(TOOL_RECTSELECT);
  w.doc->ChangeScale(3);
  QCoreApplication::processEvents();
  tools->MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  Drain();
  tools->MouseEvent(WM_MOUSEMOVE, 1010, 1010, MK_LBUTTON);
  tools->MouseEvent(WM_LBUTTONUP, 1010, 1010, 0);
  Drain();
  w.doc->ChangeScale(static_cast<int>(state.range(0)));
  QCoreApplication::processEvents();
  Drain();
  if (!HasSelection(r)) {
    state.SkipWithError("no selection");
    return;
  }
  const RECT at = tools->session()->window;
  tools->MouseEvent(WM_LBUTTONDOWN, at.left + 50, at.top + 50, MK_LBUTTON);
  int step = 0;
  for (auto _ : state) {
    // Back and forth by up to 40 view pixels, as a hand moves.
    const int dx = (step % 40) - 20, dy = ((step * 7) % 40) - 20;
    ++step;
    tools->MouseEvent(WM_MOUSEMOVE, at.left + 50 + dx, at.top + 50 + dy, MK_LBUTTON);
    w.doc->view()->repaint();
  }
  tools->MouseEvent(WM_LBUTTONUP, at.left + 50, at.top + 50, 0);
  Drain();
  tools->Unselect();
  Drain();
  state.counters["fragment"] = 2000;
}
// 100, 50 and 400 percent.
BENCHMARK(DragFragment)->Arg(5)->Arg(3)->Arg(7)->Unit(benchmark::kMillisecond)->UseRealTime();

void Wand(benchmark::State& state) {
  World& w = Setup();
  DocumentTools* tools = w.doc->tools();
  w.doc->ChangeScale(5);
  w.frame->ChooseTool(TOOL_WAND);
  Drain();
  // range 0: a click in the sky (a region of most of 10 megapixels); 1: in the grass.
  const int x = 300, y = state.range(0) == 0 ? 300 : 900;
  for (auto _ : state) {
    tools->MouseEvent(WM_LBUTTONDOWN, x, y, MK_LBUTTON);
    tools->MouseEvent(WM_LBUTTONUP, x, y, 0);
    Drain();
    state.PauseTiming();
    if (!HasSelection(w.doc->record())) state.SkipWithError("nothing selected");
    tools->Send(UM_ENDSELECTION);  // lays it down; not part of the answer
    Drain();
    state.ResumeTiming();
  }
}
BENCHMARK(Wand)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
