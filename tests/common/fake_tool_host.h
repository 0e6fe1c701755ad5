// A tool host without a screen: it records what a session asks of the
// platform, so that tests can drive sessions through DocumentTools.
#pragma once

#include <string>
#include <vector>

#include "tools/toolsession.h"

namespace ochrel::test {

class FakeToolHost : public ToolHost {
 public:
  int ScrollX() const override { return scrollX; }
  int ScrollY() const override { return scrollY; }
  int ClientWidth() const override { return clientWidth; }
  int ClientHeight() const override { return clientHeight; }
  void SetScrollBars(int x, int y) override {
    scrollX = x;
    scrollY = y;
  }
  void SelectViewMode(int) override {}
  void InvalidateImage(RECT r) override { invalidated.push_back(r); }
  void InvalidateView() override {}
  void StartTimer(ToolSession* t, int, int) override { timerTool = t; }
  void StopTimer(ToolSession*, int) override { timerTool = nullptr; }
  void CaptureMouse(ToolSession* t) override { captured = t; }
  void ReleaseMouse() override { captured = nullptr; }
  bool ControlDown() const override { return false; }
  bool ShiftDown() const override { return false; }
  bool AltDown() const override { return false; }
  void ShowMessage(const std::string& t) override { messages.push_back(t); }
  void StatusText(const std::string& t) override { status = t; }
  void SetCursor(int c) override { cursor = c; }
  void UpdateMenuStates() override {}
  void InvertRectangle(RECT r) override { inverted.push_back(r); }

  int scrollX = 0, scrollY = 0, clientWidth = 400, clientHeight = 400;
  std::vector<RECT> invalidated, inverted;
  std::vector<std::string> messages;
  std::string status;
  ToolSession* timerTool = nullptr;
  ToolSession* captured = nullptr;
  int cursor = 0;
};

}  // namespace ochrel::test
