// qel scene OUT: a test picture with what photographs have and cards have not: soft shades, shadows and highlights.
//
// Four balls on a floor under an evening sky, by ray tracing (Whitted, 1980): the nearest ball or the floor, a lamp
// with a shadow, and what mirrors in the balls. The same picture on every run.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Vector {
  double x, y, z;
  Vector operator+(const Vector &v) const { return {x + v.x, y + v.y, z + v.z}; }
  Vector operator-(const Vector &v) const { return {x - v.x, y - v.y, z - v.z}; }
  Vector operator*(double s) const { return {x * s, y * s, z * s}; }
  Vector operator*(const Vector &v) const { return {x * v.x, y * v.y, z * v.z}; }
};

double Dot(const Vector &a, const Vector &b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vector Unit(const Vector &v) {
  return v * (1 / std::sqrt(Dot(v, v)));
}
Vector Mix(const Vector &a, const Vector &b, double share) {
  return a * (1 - share) + b * share;
}

struct Ball {
  Vector centre;
  double radius;
  Vector colour;
  double mirror;  // share of its light that it mirrors
};

constexpr Ball kBalls[] = {{{-1.5, 1.0, 0.2}, 1.0, {0.85, 0.12, 0.10}, 0.12},
                           {{0.7, 0.75, -0.9}, 0.75, {0.95, 0.70, 0.10}, 0.08},
                           {{2.0, 1.1, 1.2}, 1.1, {0.10, 0.35, 0.75}, 0.15},
                           {{0.1, 0.4, -2.0}, 0.4, {0.15, 0.60, 0.25}, 0.10}};
constexpr Vector kEye{0, 1.7, -6.5};
constexpr Vector kLamp{-5, 8, -5};

/// The way to a ball along a unit vector, or infinity.
double Meet(const Ball &ball, const Vector &from, const Vector &way) {
  const Vector toCentre = ball.centre - from;
  const double along = Dot(toCentre, way);
  const double root = ball.radius * ball.radius - (Dot(toCentre, toCentre) - along * along);
  if (root < 0) return HUGE_VAL;
  const double near = along - std::sqrt(root);
  return near > 1e-6 ? near : HUGE_VAL;
}

/// The share of the lamp that reaches a point: less towards the middle of a ball's shadow, so that its edge is soft.
double LightAt(const Vector &point) {
  const Vector way = Unit(kLamp - point);
  double light = 1;
  for (const Ball &ball : kBalls) {
    const Vector toCentre = ball.centre - point;
    const double along = Dot(toCentre, way);
    if (along <= 0) continue;
    const double off = std::sqrt(std::max(Dot(toCentre, toCentre) - along * along, 0.0)) / ball.radius;
    light = std::min(light, std::clamp((off - 0.75) / 0.5, 0.0, 1.0));
  }
  return light;
}

Vector SkyAlong(const Vector &way) {
  const double height = std::sqrt(std::max(way.y, 0.0));
  return Mix({1.0, 0.72, 0.45}, {0.16, 0.30, 0.62}, std::min(1.4 * height, 1.0));
}

/// The light that comes along a unit vector, after `bounces` mirrors at most.
Vector Look(const Vector &from, const Vector &way, int bounces) {
  const Ball *met = nullptr;
  double nearest = way.y < 0 ? -from.y / way.y : HUGE_VAL;
  for (const Ball &ball : kBalls)
    if (const double distance = Meet(ball, from, way); distance < nearest) nearest = distance, met = &ball;
  if (std::isinf(nearest)) return SkyAlong(way);

  const Vector point = from + way * nearest, lamp = Unit(kLamp - point);
  if (!met) {
    const bool dark = (static_cast<long>(std::floor(point.x)) + static_cast<long>(std::floor(point.z))) % 2 != 0;
    const Vector floor = dark ? Vector{0.26, 0.24, 0.26} : Vector{0.66, 0.62, 0.58};
    return Mix(floor * (0.25 + 0.75 * lamp.y * LightAt(point)), SkyAlong(way), 1 - std::exp(-nearest / 30));
  }
  const Vector normal = (point - met->centre) * (1 / met->radius);
  const double facing = std::max(Dot(normal, lamp), 0.0);
  const Vector mirrored = way - normal * (2 * Dot(way, normal));
  const double gloss = std::pow(std::max(Dot(mirrored, lamp), 0.0), 40);
  const Vector own = met->colour * (0.18 + 0.10 * normal.y + 0.80 * facing);
  const Vector seen = bounces > 0 ? Look(point, mirrored, bounces - 1) : own;
  return Mix(own, seen, met->mirror) + Vector{1, 1, 1} * (0.8 * gloss);
}

unsigned char Level(double light) {
  return static_cast<unsigned char>(std::lround(255 * std::clamp(light, 0.0, 1.0)));
}

int Run(const std::string &path, const SIZE &size) {
  constexpr int kSamples = 3;  // along each axis of a pixel
  PQel image;
  if (!image.CreateImage(1, size.cx, size.cy, 0, nullptr, 3780, 3780, 1, 0, 0)) throw Failure(path, "out of memory");
  std::vector<unsigned char> row(static_cast<std::size_t>(image.GetLineBytes()));
  for (long y = 0; y < size.cy; ++y) {
    for (long x = 0; x < size.cx; ++x) {
      Vector sum{0, 0, 0};
      for (int s = 0; s < kSamples * kSamples; ++s) {
        const double right = static_cast<double>(x) + (s % kSamples + 0.5) / kSamples - 0.5 * size.cx;
        const double down = static_cast<double>(y) + (s / kSamples + 0.5) / kSamples - 0.5 * size.cy;
        sum = sum + Look(kEye, Unit({right / size.cy, -0.12 - down / size.cy, 1.1}), 2);
      }
      const Vector light = sum * (1.0 / (kSamples * kSamples));
      unsigned char *const pixel = &row[static_cast<std::size_t>(3 * x)];
      pixel[0] = Level(light.z), pixel[1] = Level(light.y), pixel[2] = Level(light.x);
    }
    if (!image.PutHorLine(y, row.data())) throw Failure(path, "out of memory");
  }
  WritePicture(image, path);
  return 0;
}

}  // namespace

void AddScene(CLI::App &app, int &status) {
  struct Options {
    std::string output;
    SIZE size{480, 360};
  };
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("scene", "Makes a test picture like a photograph: balls with shades and shadows");
  verb->add_option("OUT", options->output, "picture to write")->required();
  AddParsed(*verb, "--size", options->size, "its size; default: 480x360", ParseBox)->type_name("WxH");
  verb->callback([options, &status] { status = Run(options->output, options->size); });
}

}  // namespace app
