// SPDX-License-Identifier: Apache-2.0
#include "apps/service/view_lettering.h"

#include <cairo/cairo.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace pelorin {
namespace {

constexpr int kTickStepDeg = 15;
constexpr int kNamedStepDeg = 45;
constexpr const char* kWinds[] = {"N", "NE", "E", "SE", "S", "SW", "W", "NW"};

struct Destroy {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* pen) const { cairo_destroy(pen); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroy>;
using Pen = std::unique_ptr<cairo_t, Destroy>;

// Writes in the pixels of the whole image.
class Letterer {
 public:
  Letterer(const ViewPart& part, cairo_t* pen) : part_(part), pen_(pen) {
    cairo_translate(pen_, -part.left, -part.top);
    cairo_select_font_face(pen_, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  }

  double X(double azimuth_deg) const {
    return (NormalizedDegrees(azimuth_deg + 180.0) / 360.0) * part_.image_width;
  }
  double Y(double pitch_deg) const { return (0.5 - pitch_deg / 180.0) * part_.image_height; }
  // Degrees of view as pixels.
  double Pixels(double degrees) const { return degrees / 180.0 * part_.image_height; }

  // Text of a height in degrees, centred on a direction, light with a dark rim.
  void Write(const std::string& text, double azimuth_deg, double pitch_deg, double height_deg) {
    cairo_set_font_size(pen_, Pixels(height_deg));
    cairo_text_extents_t extents;
    cairo_text_extents(pen_, text.c_str(), &extents);
    OnBothSides([&](double shift) {
      cairo_move_to(pen_, X(azimuth_deg) + shift - extents.width / 2.0, Y(pitch_deg));
      cairo_text_path(pen_, text.c_str());
      cairo_set_source_rgba(pen_, 0.08, 0.12, 0.18, 0.75);
      cairo_set_line_width(pen_, Pixels(height_deg) * 0.16);
      cairo_stroke_preserve(pen_);
      cairo_set_source_rgb(pen_, 1.0, 1.0, 0.97);
      cairo_fill(pen_);
    });
  }

  // An upright line from one pitch to another.
  void Tick(double azimuth_deg, double from_pitch_deg, double to_pitch_deg, double width_deg) {
    OnBothSides([&](double shift) {
      cairo_move_to(pen_, X(azimuth_deg) + shift, Y(from_pitch_deg));
      cairo_line_to(pen_, X(azimuth_deg) + shift, Y(to_pitch_deg));
      cairo_set_source_rgba(pen_, 0.75, 0.12, 0.12, 0.9);
      cairo_set_line_width(pen_, Pixels(width_deg));
      cairo_stroke(pen_);
    });
  }

  void Dot(double azimuth_deg, double pitch_deg) {
    OnBothSides([&](double shift) {
      cairo_arc(pen_, X(azimuth_deg) + shift, Y(pitch_deg), Pixels(0.5), 0.0, 2.0 * kPi);
      cairo_set_source_rgb(pen_, 0.95, 0.75, 0.15);
      cairo_fill(pen_);
    });
  }

 private:
  template <typename Draw>
  void OnBothSides(Draw draw) {
    for (const int side : {-1, 0, 1}) {
      draw(side * static_cast<double>(part_.image_width));
    }
  }

  const ViewPart& part_;
  cairo_t* pen_;
};

void DrawCompass(const ViewScene& scene, Letterer* letterer) {
  for (int heading = 0; heading < 360; heading += kTickStepDeg) {
    const bool is_named = heading % kNamedStepDeg == 0;
    const double azimuth_deg = heading - scene.heading_deg;
    letterer->Tick(azimuth_deg, -0.8, is_named ? 1.4 : 0.4, is_named ? 0.35 : 0.2);
    if (is_named) {
      letterer->Write(kWinds[heading / kNamedStepDeg], azimuth_deg, 2.2, 3.4);
    }
  }
}

void Write(const ViewScene& scene, Letterer* letterer) {
  DrawCompass(scene, letterer);
  for (const ViewScene::Road& road : scene.roads) {
    letterer->Write(scene.street, road.azimuth_deg, -14.0, 3.6);
  }
  for (const ViewScene::Label& label : scene.labels) {
    letterer->Dot(label.azimuth_deg, label.pitch_deg);
    letterer->Write(label.text, label.azimuth_deg, label.pitch_deg + 1.6, 2.6);
  }
  for (const double azimuth_deg : {-90.0, 90.0}) {
    letterer->Write(scene.caption, azimuth_deg, -52.0, 3.0);
  }
}

// Premultiplied pixels of 32 bits on a transparent ground; row after row, without gaps.
std::vector<unsigned char> DrawLetters(const ViewScene& scene, const ViewPart& part, int width,
                                       int height) {
  const int stride = width * 4;
  std::vector<unsigned char> letters(static_cast<std::size_t>(stride) *
                                     static_cast<std::size_t>(height));
  // The drawing library keeps its fonts and spare parts for all threads, and hands the latter over
  // by atomics, which no thread sanitizer can see in it. Behind a lock there is no doubt.
  static std::mutex one_pen;
  const std::lock_guard<std::mutex> hold(one_pen);
  const Surface surface(cairo_image_surface_create_for_data(letters.data(), CAIRO_FORMAT_ARGB32,
                                                            width, height, stride));
  {
    const Pen pen(cairo_create(surface.get()));
    Letterer letterer(part, pen.get());
    Write(scene, &letterer);
  }
  // Without memory for all of them there are fewer letters.
  cairo_surface_flush(surface.get());
  return letters;
}

}  // namespace

void LetterView(const ViewScene& scene, const ViewPart& part, RgbImage* image) {
  const std::vector<unsigned char> letters = DrawLetters(scene, part, image->width, image->height);
  const unsigned char* letter = letters.data();
  std::uint8_t* pixel = image->pixels.data();
  for (std::size_t left = letters.size() / 4; left != 0; --left, letter += 4, pixel += 3) {
    std::uint32_t argb = 0;  // The colours multiplied with the cover already.
    std::memcpy(&argb, letter, sizeof argb);
    const std::uint32_t rest = 255 - (argb >> 24);
    for (int channel = 0; channel < 3; ++channel) {
      const std::uint32_t over = argb >> (16 - 8 * channel) & 0xFF;
      pixel[channel] = static_cast<std::uint8_t>(over + (pixel[channel] * rest + 127) / 255);
    }
  }
}

}  // namespace pelorin
