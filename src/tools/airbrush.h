// The airbrush's swelling dab. While the mouse rests near the press point the
// dab is laid again on every timer tick, softer at first and harder each time,
// so that the coverage rule widens its core towards the full size. Moving away
// stops the swelling for the rest of the stroke; the stroke itself goes on with
// the stamp of the moment.
//
// The timing is kept apart from any timer: the session calls Tick on each of
// its timer events (every AirBrushFlow milliseconds) and Move on mouse moves.
#pragma once

#include <optional>

#include "frame/blockset.h"
#include "image/dib.h"

namespace ochrel {

class AirbrushSwell {
 public:
  // Softness of the first dab and of the first tick's dab, the rise per tick
  // and the most it reaches.
  static constexpr int kFirstSoftness = 1;
  static constexpr int kSoftnessStep = 5;
  static constexpr int kMaxSoftness = 100;

  // A new stroke at `at`: softness back to 1, swelling on.
  void Press(POINT at);
  // Where the cursor is now (tool-window coordinates, as the press point).
  void Move(POINT cursor) { cursor_ = cursor; }
  // One timer tick with the cursor where Move last put it. The softness of the
  // dab to lay now, or nothing once the cursor has been seen more than
  // AirbrushMotion pixels from the press point on either axis: from then on
  // the swelling has stopped for good.
  std::optional<int> Tick();
  std::optional<int> Tick(POINT cursor) {
    Move(cursor);
    return Tick();
  }
  // The button is up: no more dabs.
  void Release() { swelling_ = false; }

  bool Swelling() const { return swelling_; }
  int Softness() const { return softness_; }
  POINT PressPoint() const { return press_; }
  POINT Cursor() const { return cursor_; }

 private:
  POINT press_{}, cursor_{};
  int softness_ = kFirstSoftness;
  bool swelling_ = false;
};

// The airbrush's stamp at a softness: the softness goes into the document's
// AirBrushSoftness (the slider's value isn't used for painting) and a soft
// stamp is built from the airbrush row with the opacity as its foreground.
// The record's Tool is the airbrush's, which picks its settings row. Null
// when memory runs out; the stroke then lays no dab and goes on.
HDIB CreateAirbrushDab(BLOCKSET& document, int softness);

}  // namespace ochrel
