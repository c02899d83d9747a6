// SPDX-License-Identifier: Apache-2.0
// What the camera met: corridors with their rounded corners, the roads as the library drew them, and
// the camera's way, pushed and held. Three layers over the map, each with a switch.

const streetData = tour.scene;
const layers = { corridors: true, roads: false, camera: true };

// Corridors are as wide as they are from north to south, and narrower by the cosine of the latitude
// across: they are drawn on a plane whose x is not shrunk.
const wide = ([x, y]) => [x / shrink, y];
const corridors = streetData.corridors.map(([aLat, aLng, bLat, bLng, aHalf, bHalf]) =>
  ({ a: wide(plane(aLat, aLng)), b: wide(plane(bLat, bLng)), half: (aHalf + bHalf) / 2 }));
const fillets = streetData.fillets.map(([lat, lng, arc]) =>
  ({ corner: wide(plane(lat, lng)), arc: placesOf(arc).map(wide) }));
const roads = streetData.roads.map(([colour, stopSeen, name, line]) =>
  ({ colour, stop: stopSeen, name, points: placesOf(line) }));
const streetLabels = streetData.labels.map(([lat, lng, text]) => ({ at: plane(lat, lng), text }));
const steps = streetData.camera.map(([seconds, at, pLat, pLng, hLat, hLng, depth, heading, turn]) => {
  const [px, py] = plane(pLat, pLng), [x, y] = plane(hLat, hLng);
  return { seconds, stop: at, px, py, x, y, depth, heading, turn };
});

function placesOf(flat) {
  const points = [];
  for (let i = 0; i < flat.length; i += 2) points.push(plane(flat[i], flat[i + 1]));
  return points;
}

/** Steps of the leg that begins at each stop: [first, last]. */
const legs = [];
steps.forEach((step, i) => {
  if (!legs[step.stop]) legs[step.stop] = [i, i];
  legs[step.stop][1] = i;
});

/** The step at a place along the walk, in stops; the camera goes its own way between two of them. */
function stepAt(place) {
  const leg = legs[Math.min(Math.floor(place), legs.length - 1)];
  if (!leg) return -1;
  const next = legs[Math.floor(place) + 1];
  const end = next ? next[0] : leg[1];
  return Math.min(leg[1], Math.round(leg[0] + (end - leg[0]) * (place - Math.floor(place))));
}
/** The other way round: where along the walk a step is made. */
function placeOfStep(index) {
  const at = steps[index].stop, leg = legs[at], next = legs[at + 1];
  const end = next ? next[0] : leg[1] + 1;
  return Math.min(walk.length - 1, at + (index - leg[0]) / Math.max(1, end - leg[0]));
}

const layer = document.createElement("canvas");
/** All corridors as one shape of one tone: drawn solid on a layer of their own first. */
function drawCorridors() {
  if (!layers.corridors || !corridors.length) return;
  layer.width = canvas.width;
  layer.height = canvas.height;
  const pen = layer.getContext("2d");
  const ratio = window.devicePixelRatio || 1;
  pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  pen.translate(size[0] / 2, size[1] / 2);
  pen.scale(camera.scale, camera.scale);
  pen.translate(-camera.x, -camera.y);
  pen.scale(shrink, 1);
  pen.lineCap = pen.lineJoin = "round";
  pen.strokeStyle = pen.fillStyle = colours.corridorEdge;
  paintCorridors(pen, 1.5 / camera.scale);
  pen.strokeStyle = pen.fillStyle = colours.corridor;
  paintCorridors(pen, 0);
  ctx.save();
  ctx.globalAlpha = colours.corridorAlpha;
  ctx.drawImage(layer, 0, 0, size[0], size[1]);
  ctx.restore();
}
function paintCorridors(pen, more) {
  for (const { corner, arc } of fillets) {
    pen.beginPath();
    pen.moveTo(...corner);
    for (const point of arc) pen.lineTo(...point);
    pen.closePath();
    pen.fill();
    if (more) { pen.lineWidth = 2 * more; pen.stroke(); }
  }
  for (const { a, b, half } of corridors) {
    pen.lineWidth = 2 * (half + more);
    pen.beginPath();
    pen.moveTo(...a);
    pen.lineTo(...b);
    pen.stroke();
  }
}

function strokeScreen(points) {
  ctx.beginPath();
  points.forEach(([x, y], i) => (i ? ctx.lineTo(x, y) : ctx.moveTo(x, y)));
  ctx.stroke();
}
function drawRoads() {
  if (!layers.roads) return;
  const lines = roads.map((road) => road.points.map(([x, y]) => toScreen(x, y)));
  const width = Math.max(2, Math.min(4, 1.5 * camera.scale));
  ctx.strokeStyle = colours.roadEdge;
  ctx.lineWidth = width + 2.4;
  lines.forEach(strokeScreen);
  ctx.lineWidth = width;
  lines.forEach((line, i) => { ctx.strokeStyle = roads[i].colour; strokeScreen(line); });
  ctx.fillStyle = colours.roadEdge;
  for (const line of lines) for (const [x, y] of line) {
    ctx.beginPath();
    ctx.arc(x, y, 1.4, 0, 7);
    ctx.fill();
  }
}
function drawStreetLabels() {
  if (!layers.roads) return;
  ctx.font = '600 11.5px "DejaVu Sans", sans-serif';
  ctx.textAlign = "left";
  ctx.textBaseline = "middle";
  for (const { at, text } of streetLabels) {
    const [x, y] = toScreen(...at), width = ctx.measureText(text).width + 12;
    if (!free(x + 6 + width / 2, y - 14, width, 18)) continue;
    ctx.fillStyle = colours.roadEdge;
    ctx.beginPath();
    ctx.roundRect(x + 6, y - 23, width, 18, 5);
    ctx.fill();
    ctx.fillRect(x, y - 1, 2, 2);
    ctx.fillStyle = colours.roadInk;
    ctx.fillText(text, x + 12, y - 13.5);
  }
}
/** A tick wherever the camera was pushed out and taken back in. */
function drawCamera() {
  if (!layers.camera || steps.length < 2) return;
  const far = camera.scale < 1.2;
  ctx.strokeStyle = colours.outside;
  ctx.lineWidth = far ? 1 : 1.8;
  ctx.beginPath();
  for (const step of steps) {
    if (step.depth === null || step.depth >= 0) continue;
    ctx.moveTo(...toScreen(step.px, step.py));
    ctx.lineTo(...toScreen(step.x, step.y));
  }
  ctx.stroke();
  if (!far) {
    ctx.strokeStyle = colours.pushed;
    ctx.lineWidth = 1.4;
    ctx.setLineDash([3, 3]);
    strokeScreen(steps.map((step) => toScreen(step.px, step.py)));
    ctx.setLineDash([]);
  }
  ctx.strokeStyle = colours.walkCasing;
  ctx.lineWidth = far ? 3.4 : 4.4;
  strokeScreen(steps.map((step) => toScreen(step.x, step.y)));
  ctx.strokeStyle = colours.held;
  ctx.lineWidth = far ? 1.8 : 2.4;
  strokeScreen(steps.map((step) => toScreen(step.x, step.y)));
}

function streetLegend(line) {
  const items = [];
  if (layers.corridors && corridors.length)
    items.push([line(colours.corridor, 9, "", colours.corridorEdge), "the corridors that hold the camera"]);
  if (layers.camera && steps.length > 1) {
    items.push([line(colours.held, 2.4, "", colours.walkCasing), "where the camera was held"]);
    items.push([line(colours.pushed, 1.6, "3 3"), "where it was pushed to"]);
    items.push([line(colours.outside, 1.8), "pushed out, and back"]);
  }
  if (layers.roads && roads.length)
    items.push([line("#ffffff", 3, "", colours.roadEdge), "a road, as a stop sees it"]);
  return items;
}
function fillLayers() {
  const box = byId("layers");
  box.hidden = !steps.length;
  for (const [name, text] of [["corridors", "Corridors"], ["roads", "Roads"], ["camera", "Camera"]]) {
    const chip = document.createElement("button");
    chip.className = "chip";
    chip.textContent = text;
    chip.setAttribute("aria-pressed", layers[name]);
    chip.onclick = () => {
      layers[name] = !layers[name];
      chip.setAttribute("aria-pressed", layers[name]);
      drawLegend();
      requestDraw();
    };
    box.append(chip);
  }
}
