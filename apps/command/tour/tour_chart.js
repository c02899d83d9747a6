// SPDX-License-Identifier: Apache-2.0
// The camera over time: how deep in its corridor each push ended, and how fast the heading was turned
// back along the street.

const chart = byId("chart-canvas");
const CHART_LEFT = 44, CHART_RIGHT = 14, CHART_GAP = 16, CHART_TOP = 6, CHART_BOTTOM = 18;

function timeText(seconds) {
  const whole = Math.round(seconds), h = Math.floor(whole / 3600), m = Math.floor(whole / 60) % 60;
  const s = String(whole % 60).padStart(2, "0");
  return h ? `${h}:${String(m).padStart(2, "0")}:${s}` : `${m}:${s}`;
}
function niceStep(span, parts) {
  const raw = Math.max(1e-9, span / parts), ten = 10 ** Math.floor(Math.log10(raw));
  return ten * [1, 2, 5, 10].find((f) => f * ten >= raw);
}
function timeStep(span, parts) {
  return [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400]
    .find((s) => span / s <= parts) || 86400;
}

/** Times, ranges and pixels of the chart as it stands. */
function chartFrame() {
  const box = chart.getBoundingClientRect();
  const from = steps[0].seconds, to = Math.max(from + 1, steps[steps.length - 1].seconds);
  const room = box.height - CHART_TOP - CHART_BOTTOM - CHART_GAP;
  const xOf = (seconds) => CHART_LEFT + (seconds - from) / (to - from) * (box.width - CHART_LEFT - CHART_RIGHT);
  return { width: box.width, height: box.height, from, to, xOf,
    bands: [[CHART_TOP, room * .55], [CHART_TOP + room * .55 + CHART_GAP, room * .45]] };
}
function drawChart() {
  if (steps.length < 2) return;
  const pen = chart.getContext("2d"), ratio = window.devicePixelRatio || 1, frame = chartFrame();
  chart.width = Math.round(frame.width * ratio);
  chart.height = Math.round(frame.height * ratio);
  pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  pen.font = '10.5px "DejaVu Sans", sans-serif';
  const depths = steps.map((step) => step.depth), turns = steps.map((step) => step.turn);
  drawTimes(pen, frame);
  drawBand(pen, frame, frame.bands[0], depths, "m", colours.held, colours.outside);
  drawBand(pen, frame, frame.bands[1], turns, "\u00B0/s", colours.turnLine, colours.turnLine);
  drawNow(pen, frame);
}
function drawTimes(pen, frame) {
  const step = timeStep(frame.to - frame.from, Math.max(2, frame.width / 90));
  pen.textAlign = "center";
  pen.textBaseline = "alphabetic";
  for (let t = Math.ceil(frame.from / step) * step; t <= frame.to; t += step) {
    const x = frame.xOf(t);
    pen.strokeStyle = colours.chartRule;
    pen.lineWidth = 1;
    pen.beginPath();
    pen.moveTo(x, CHART_TOP);
    pen.lineTo(x, frame.height - CHART_BOTTOM);
    pen.stroke();
    pen.fillStyle = colours.chartInk;
    if (x < frame.width - 26) pen.fillText(timeText(t), x, frame.height - 5);
  }
}
/** One line over time; what lies below zero is filled in its own colour. */
function drawBand(pen, frame, [top, height], values, unit, above, below) {
  const known = values.filter((value) => value !== null);
  const least = Math.min(0, ...bounds(known)), most = Math.max(least + .1, 0, ...bounds(known));
  const yOf = (value) => top + height - (value - least) / (most - least) * height;
  drawScaleOf(pen, frame, yOf, least, most, height, unit);
  const zero = yOf(0);
  for (const [colour, clipTop, clipHeight] of [[above, top - 2, zero - top + 2], [below, zero, top + height - zero + 2]]) {
    pen.save();
    pen.beginPath();
    pen.rect(CHART_LEFT, clipTop, frame.width, clipHeight);
    pen.clip();
    pen.fillStyle = pen.strokeStyle = colour;
    pen.lineWidth = 1.3;
    pen.lineJoin = "round";
    eachRun(values, (run) => {
      pen.beginPath();
      for (const i of run) pen.lineTo(frame.xOf(steps[i].seconds), yOf(values[i]));
      pen.stroke();
      pen.lineTo(frame.xOf(steps[run[run.length - 1]].seconds), zero);
      pen.lineTo(frame.xOf(steps[run[0]].seconds), zero);
      pen.globalAlpha = .22;
      pen.fill();
      pen.globalAlpha = 1;
    });
    pen.restore();
  }
}
function bounds(values) {
  return values.length ? [values.reduce((a, b) => Math.min(a, b)), values.reduce((a, b) => Math.max(a, b))] : [];
}
/** Runs of indices whose value is known: where nothing holds the camera the line breaks off. */
function eachRun(values, use) {
  let run = [];
  values.forEach((value, i) => {
    if (value !== null) run.push(i);
    else if (run.length) { use(run); run = []; }
  });
  if (run.length) use(run);
}
function drawScaleOf(pen, frame, yOf, least, most, height, unit) {
  const step = niceStep(most - least, Math.max(2, height / 17));
  pen.textAlign = "right";
  pen.textBaseline = "middle";
  for (let value = Math.ceil(least / step) * step; value <= most + 1e-9; value += step) {
    const y = yOf(value), isZero = Math.abs(value) < step / 2;
    pen.strokeStyle = isZero ? colours.chartInk : colours.chartRule;
    pen.lineWidth = isZero ? 1.1 : .7;
    pen.beginPath();
    pen.moveTo(CHART_LEFT, y);
    pen.lineTo(frame.width - CHART_RIGHT, y);
    pen.stroke();
    pen.fillStyle = colours.chartInk;
    pen.fillText(`${+value.toFixed(2)}${isZero ? " " + unit : ""}`, CHART_LEFT - 5, y);
  }
}
function drawNow(pen, frame) {
  const index = stepAt(position);
  if (index < 0) return;
  const step = steps[index], x = frame.xOf(step.seconds);
  pen.strokeStyle = colours.eye;
  pen.lineWidth = 1.6;
  pen.beginPath();
  pen.moveTo(x, CHART_TOP);
  pen.lineTo(x, frame.height - CHART_BOTTOM);
  pen.stroke();
  const turn = Math.round(Math.abs(step.turn));
  byId("chart-now").textContent = `${timeText(step.seconds)} \u00B7 `
    + (step.depth === null ? "nothing holds it"
      : `depth ${step.depth.toFixed(1)} m${step.depth < 0 ? ", pushed back" : ""}`)
    + (turn ? ` \u00B7 turned ${turn}\u00B0/s ${step.turn < 0 ? "left" : "right"}` : "");
}
function fillChart() {
  byId("chart").hidden = steps.length < 2;
  const go = (event) => {
    if (!event.buttons) return;
    const frame = chartFrame(), share = (event.offsetX - CHART_LEFT) / (frame.width - CHART_LEFT - CHART_RIGHT);
    const seconds = frame.from + share * (frame.to - frame.from);
    let best = 0;
    steps.forEach((step, i) => {
      if (Math.abs(step.seconds - seconds) < Math.abs(steps[best].seconds - seconds)) best = i;
    });
    pause();
    goTo(placeOfStep(best));
    const here = viewer();
    if (here) reveal(here);
  };
  chart.addEventListener("pointerdown", go);
  chart.addEventListener("pointermove", go);
}
