// SPDX-License-Identifier: Apache-2.0
// The page of a tour: one canvas, one panel, no network. Everything is drawn from the block of data
// that the page carries; coordinates become metres on a plane around the middle of the walk.

const tour = JSON.parse(document.getElementById("tour").textContent);
const byId = (id) => document.getElementById(id);
const canvas = byId("map");
const ctx = canvas.getContext("2d");

// ---------------------------------------------------------------- colours
const SCHEMES = {
  light: {
    paper: "#f1ece1", sea: "#b9d8e2", shallow: "rgba(255,255,255,.2)", coast: "#8db9c8",
    land: "#f3eee2", park: "#d3e3bd", square: "#ece0c8", quay: "#e3dccb", mole: "#d6cebd",
    building: "#dfd3c0", buildingEdge: "#c9bba4", rail: "#8b8680", water: "#b9d8e2",
    casing: "#b8ad98", dim: .3, dot: "#3b4a53", dotFill: "#fffdf8", placeholder: "#8b969c",
    inferred: "#b0249b", walk: "#d1462f", walked: "#8e2b1b", walkCasing: "#ffffff", arrow: "#ffffff",
    start: "#1b8a5a", goal: "#d1462f", turn: "#f2b134", turnInk: "#4a3200", label: "#3d3527",
    halo: "rgba(250,246,236,.92)", waterLabel: "#3f7890", areaLabel: "#6f7f58", level: "#6a4fb3",
    levelBelow: "#8a6d3b", other: "#0f7f8c", cone: "rgba(31,111,139,.34)", eye: "#1f6f8b",
    roadLift: 0, corridor: "#4ba3c7", corridorEdge: "#0f5f7f", corridorAlpha: .42, held: "#14536b",
    pushed: "#c47a00", outside: "#d1005b", turnLine: "#7a5195", roadEdge: "#3d3527",
    roadInk: "#fffdf8", chartRule: "#e4ddcf", chartInk: "#6b7780",
  },
  dark: {
    paper: "#141b20", sea: "#12303c", shallow: "rgba(120,190,210,.06)", coast: "#2b5666",
    land: "#1b2328", park: "#20331f", square: "#2c2a22", quay: "#262b2d", mole: "#2b3134",
    building: "#2a2f33", buildingEdge: "#39434a", rail: "#6d747a", water: "#12303c",
    casing: "#0c1114", dim: .35, dot: "#b6c3c9", dotFill: "#141b20", placeholder: "#76848a",
    inferred: "#ff7ae6", walk: "#ff7a5c", walked: "#b9492f", walkCasing: "#0c1114", arrow: "#24100a",
    start: "#37c98b", goal: "#ff7a5c", turn: "#ffc857", turnInk: "#332200", label: "#d9d2c3",
    halo: "rgba(17,24,29,.9)", waterLabel: "#6fb0c6", areaLabel: "#86a06a", level: "#a58cf0",
    levelBelow: "#d6b277", other: "#38bfcd", cone: "rgba(124,199,223,.3)", eye: "#7cc7df",
    roadLift: -0.66, corridor: "#2f7f9f", corridorEdge: "#7cc7df", corridorAlpha: .5,
    held: "#9fe0f5", pushed: "#ffb454", outside: "#ff5c9e", turnLine: "#c9a0e8",
    roadEdge: "#d9d2c3", roadInk: "#11181d", chartRule: "#2a343a", chartInk: "#93a1a7",
  },
};
const wantsDark = window.matchMedia("(prefers-color-scheme: dark)");
let schemeName = wantsDark.matches ? "dark" : "light";
let colours = SCHEMES[schemeName];

function setScheme(name) {
  schemeName = name;
  colours = SCHEMES[name];
  document.documentElement.dataset.scheme = name;
  byId("scheme").textContent = name === "dark" ? "Light" : "Dark";
  drawLegend();
  requestDraw();
}

/** A road's own colour; at night the same hue, quieter. */
function roadColour(hex) {
  if (!colours.roadLift) return hex;
  const n = parseInt(hex.slice(1), 16);
  const mix = (v, base) => Math.round(base + (v - base) * (1 + colours.roadLift));
  return `rgb(${mix(n >> 16, 50)},${mix((n >> 8) & 255, 60)},${mix(n & 255, 68)})`;
}

// ---------------------------------------------------------------- the data on a plane
const DEGREE_METRES = 6371010 * Math.PI / 180;
const centre = tour.panos.length ? middleOfWalk() : [0, 0];
const shrink = Math.cos(centre[0] * Math.PI / 180);

function middleOfWalk() {
  const lats = tour.path.map((i) => tour.panos[i][0]), lngs = tour.path.map((i) => tour.panos[i][1]);
  if (!lats.length) return [tour.panos[0][0], tour.panos[0][1]];
  return [(Math.min(...lats) + Math.max(...lats)) / 2, (Math.min(...lngs) + Math.max(...lngs)) / 2];
}
function plane(lat, lng) {
  let east = lng - centre[1];
  if (east > 180) east -= 360;
  if (east < -180) east += 360;
  return [east * DEGREE_METRES * shrink, -(lat - centre[0]) * DEGREE_METRES];
}

const panos = tour.panos.map((row, index) => {
  const [x, y] = plane(row[0], row[1]);
  return { index, x, y, lat: row[0], lng: row[1], heading: row[2], scene: row[3],
    level: tour.levels[row[4]], street: tour.streets[row[5]], range: row[6], loaded: row[7],
    id: row[8], date: row[9], links: [] };
});
const edges = tour.edges.map(([a, b, colour, inferred]) =>
  ({ a: panos[a], b: panos[b], colour, inferred: !!inferred }));
for (const edge of edges) {
  edge.a.links.push(edge.b);
  if (edge.a !== edge.b) edge.b.links.push(edge.a);
}
const walk = tour.path.map((i) => panos[i]);
const walkAt = [0];
for (let i = 1; i < walk.length; ++i) walkAt.push(walkAt[i - 1] + distance(walk[i - 1], walk[i]));
for (const [at, date] of tour.scene.images) walk[at].imageDate = date;
const stopOf = new Map(walk.map((pano, stop) => [pano.index, stop]));
const turnAt = new Map(tour.turns.map((turn) => [turn[0], turn]));
const mainScene = walk.length ? walk[0].scene : (panos.length ? panos[0].scene : 0);
const backdrop = tour.backdrop.map(([kind, name, closed, flat]) => {
  const points = [];
  for (let i = 0; i < flat.length; i += 2) points.push(plane(flat[i], flat[i + 1]));
  return { kind, name, closed: !!closed, points, path: pathOf(points, !!closed) };
});
const hasSea = backdrop.some((shape) => shape.kind === "sea");

function distance(p, q) { return Math.hypot(p.x - q.x, p.y - q.y); }
function pathOf(points, closed) {
  const path = new Path2D();
  points.forEach(([x, y], i) => (i ? path.lineTo(x, y) : path.moveTo(x, y)));
  if (closed) path.closePath();
  return path;
}
function bearing(p, q) { return (Math.atan2(q.x - p.x, p.y - q.y) * 180 / Math.PI + 360) % 360; }
function metresText(m) {
  return m >= 1000 ? (m / 1000).toFixed(m >= 10000 ? 0 : 1) + " km" : Math.round(m) + " m";
}
function compassPoint(deg) {
  return ["north", "north-east", "east", "south-east", "south", "south-west", "west",
    "north-west"][Math.round(deg / 45) % 8];
}

// ---------------------------------------------------------------- chains of one street, for labels
const chains = streetChains();

/** Follows each street through its own panoramas into long lines, longest first. */
function streetChains() {
  const neighbours = new Map();
  for (const { a, b } of edges) {
    if (a === b || !a.street || a.street !== b.street || a.level !== b.level) continue;
    if (!neighbours.has(a)) neighbours.set(a, []);
    if (!neighbours.has(b)) neighbours.set(b, []);
    neighbours.get(a).push(b);
    neighbours.get(b).push(a);
  }
  const used = new Set(), found = [];
  const follow = (from) => {
    const line = [from];
    used.add(from);
    for (let at = from, last = null; ;) {
      const ways = neighbours.get(at).filter((next) => !used.has(next));
      if (!ways.length) return line;
      // Straight on, where the street forks.
      if (last) ways.sort((p, q) => bend(last, at, p) - bend(last, at, q));
      last = at;
      at = ways[0];
      used.add(at);
      line.push(at);
    }
  };
  const ends = [...neighbours.keys()].sort((p, q) =>
    neighbours.get(p).length - neighbours.get(q).length || p.index - q.index);
  for (const end of ends) {
    if (used.has(end)) continue;
    const points = follow(end);
    let metres = 0;
    for (let i = 1; i < points.length; ++i) metres += distance(points[i - 1], points[i]);
    found.push({ name: end.street, points, metres, level: end.level });
  }
  return found.filter((chain) => chain.metres > 15).sort((p, q) => q.metres - p.metres);
}
function bend(a, b, c) {
  const turn = Math.abs(bearing(a, b) - bearing(b, c));
  return Math.min(turn, 360 - turn);
}

// ---------------------------------------------------------------- camera
const camera = { x: 0, y: 0, scale: 1 };  // Plane point in the middle; pixels for a metre.
let size = [1, 1];
let stop = 0, position = 0;  // Stop under the slider; place along the walk, in stops.
let selected = walk.length ? walk[0] : panos[0] || null;
let hovered = null, playing = false, levelShown = null, follow = false;

function toScreen(x, y) {
  return [(x - camera.x) * camera.scale + size[0] / 2, (y - camera.y) * camera.scale + size[1] / 2];
}
function toPlane(px, py) {
  return [(px - size[0] / 2) / camera.scale + camera.x, (py - size[1] / 2) / camera.scale + camera.y];
}
/** Levels stand above one another on the map: each storey is lifted by some pixels. */
function lift(pano) { return -Math.max(-3, Math.min(6, pano.level.ordinal)) * 9; }
function screenOf(pano) {
  const [x, y] = toScreen(pano.x, pano.y);
  return [x, y + lift(pano)];
}
function boundsOf(points) {
  let w = Infinity, n = Infinity, e = -Infinity, s = -Infinity;
  for (const p of points) {
    w = Math.min(w, p.x); e = Math.max(e, p.x); n = Math.min(n, p.y); s = Math.max(s, p.y);
  }
  return [w, n, e, s];
}
function fit() {
  if (!panos.length) return;
  const whole = boundsOf(panos);
  const way = boundsOf(walk.length ? walk : panos);
  const span = ([w, n, e, s]) => Math.hypot(e - w, s - n);
  // All that is known, unless the walk would be lost in it.
  const [w, n, e, s] = span(whole) < 2.2 * span(way) ? whole : way;
  const room = Math.min(size[0], size[1]) * .09 + 24;
  camera.x = (w + e) / 2;
  camera.y = (n + s) / 2;
  camera.scale = Math.min((size[0] - 2 * room) / Math.max(e - w, 30),
    (size[1] - 2 * room) / Math.max(s - n, 30));
  // What does not need the whole width moves out from under the legend.
  const legend = byId("legend");
  const covered = legend.open ? legend.getBoundingClientRect().right + 24 : 0;
  const left = (size[0] - (e - w) * camera.scale) / 2;
  camera.x -= Math.max(0, Math.min(covered - left, left - 24)) / camera.scale;
  follow = false;
  requestDraw();
}
function zoomBy(factor, px = size[0] / 2, py = size[1] / 2) {
  const [x, y] = toPlane(px, py);
  camera.scale = Math.max(.002, Math.min(60, camera.scale * factor));
  camera.x = x - (px - size[0] / 2) / camera.scale;
  camera.y = y - (py - size[1] / 2) / camera.scale;
  requestDraw();
}

// ---------------------------------------------------------------- drawing
let drawAsked = false;
function requestDraw() {
  if (!drawAsked) {
    drawAsked = true;
    requestAnimationFrame(() => { drawAsked = false; draw(); });
  }
}
function resize() {
  const box = canvas.getBoundingClientRect();
  const ratio = window.devicePixelRatio || 1;
  size = [box.width, box.height];
  canvas.width = Math.round(box.width * ratio);
  canvas.height = Math.round(box.height * ratio);
  requestDraw();
}
function inPlane(paint) {
  ctx.save();
  ctx.translate(size[0] / 2, size[1] / 2);
  ctx.scale(camera.scale, camera.scale);
  ctx.translate(-camera.x, -camera.y);
  paint(1 / camera.scale);
  ctx.restore();
}
function draw() {
  const ratio = window.devicePixelRatio || 1;
  ctx.setTransform(ratio, 0, 0, ratio, 0, 0);
  ctx.lineJoin = ctx.lineCap = "round";
  ctx.fillStyle = hasSea ? colours.sea : colours.paper;
  ctx.fillRect(0, 0, size[0], size[1]);
  inPlane(drawBackdrop);
  drawStreets();
  drawInferred();
  drawCorridors();
  drawRoads();
  drawDots();
  drawWalk();
  drawCamera();
  drawTurns();
  drawEnds();
  drawViewer();
  drawLabels();
  drawStreetLabels();
  drawScale();
  drawChart();
}

const SHAPE_ORDER = ["sea", "land", "park", "water", "square", "quay", "mole", "rail", "building"];
function drawBackdrop(px) {
  const known = backdrop.filter((shape) => SHAPE_ORDER.includes(shape.kind));
  ctx.fillStyle = colours.sea;
  for (const shape of known) if (shape.kind === "sea") ctx.fill(shape.path);
  // Shallow water: rings around whatever rises out of the sea.
  for (const width of hasSea ? [84, 54, 26] : []) {
    ctx.lineWidth = width;
    ctx.strokeStyle = colours.shallow;
    for (const shape of known)
      if (shape.kind === "land" || shape.kind === "mole") ctx.stroke(shape.path);
  }
  for (const shape of known) {
    if (shape.kind === "sea") continue;
    ctx.fillStyle = ctx.strokeStyle = colours[shape.kind];
    if (shape.kind === "rail") {
      drawRail(shape, px);
    } else if (!shape.closed) {
      ctx.lineWidth = shape.kind === "water" ? 5 : 3;
      ctx.stroke(shape.path);
    } else {
      if (shape.kind === "building" && camera.scale > .8) {
        ctx.save();
        ctx.shadowColor = "rgba(0,0,0,.18)";
        ctx.shadowOffsetX = ctx.shadowOffsetY = Math.min(4, camera.scale);
        ctx.fill(shape.path);
        ctx.restore();
      } else {
        ctx.fill(shape.path);
      }
      ctx.lineWidth = px;
      ctx.strokeStyle = shape.kind === "building" ? colours.buildingEdge : colours.coast;
      if (["building", "land", "mole", "water"].includes(shape.kind)) ctx.stroke(shape.path);
    }
  }
}
function drawRail(shape, px) {
  if (shape.closed) { ctx.globalAlpha = .25; ctx.fill(shape.path); ctx.globalAlpha = 1; }
  ctx.lineWidth = Math.max(1.6 * px, 1.4);
  ctx.stroke(shape.path);
  ctx.save();
  ctx.lineCap = "butt";
  ctx.setLineDash([Math.max(px, .8), Math.max(6 * px, 4)]);
  ctx.lineWidth = Math.max(6 * px, 4);
  ctx.stroke(shape.path);
  ctx.restore();
}

function edgeShown(edge) {
  return levelShown === null || edge.a.level.ordinal === levelShown || edge.b.level.ordinal === levelShown;
}
function streetWidth(colour) {
  return Math.max(1.3, Math.min(26, tour.widths[colour] * camera.scale));
}
/** Lines on the ground first, then storey by storey; in each, narrow streets under wide ones. */
function drawStreets() {
  const groups = new Map();
  for (const edge of edges) {
    if (edge.inferred) continue;
    const ordinal = Math.max(edge.a.level.ordinal, edge.b.level.ordinal);
    const foreign = edge.a.scene !== mainScene ? 1 : 0;
    const inside = edge.a.level.id || edge.b.level.id ? 1 : 0;
    const key = [inside ? ordinal + 100 : 0, tour.widths[edge.colour], edge.colour, foreign, inside,
      edgeShown(edge) ? 1 : 0].join();
    if (!groups.has(key)) groups.set(key, []);
    groups.get(key).push(edge);
  }
  const keys = [...groups.keys()].map((key) => key.split(",").map(Number))
    .sort((p, q) => p[0] - q[0] || p[1] - q[1] || p[2] - q[2]);
  for (const pass of ["casing", "fill"]) {
    for (const key of keys) if (!key[0]) strokeGroup(groups.get(key.join()), key, pass);
  }
  for (const key of keys) if (key[0]) strokeGroup(groups.get(key.join()), key, "level");
}
function strokeGroup(group, [, , colour, foreign, inside, shown], pass) {
  const path = new Path2D();
  for (const { a, b } of group) {
    const [ax, ay] = screenOf(a), [bx, by] = screenOf(b);
    path.moveTo(ax, ay);
    path.lineTo(bx, by);
  }
  const width = streetWidth(colour);
  ctx.save();
  if (!shown) ctx.globalAlpha = colours.dim;
  if (pass === "casing") {
    ctx.strokeStyle = foreign ? colours.other : colours.casing;
    ctx.lineWidth = width + (foreign ? 3 : 2);
    ctx.stroke(path);
  } else {
    if (inside) {
      const below = group[0].a.level.ordinal < 0;
      ctx.strokeStyle = below ? colours.levelBelow : colours.level;
      ctx.lineWidth = width + 2.5;
      ctx.stroke(path);
    }
    ctx.strokeStyle = roadColour(tour.colors[colour]);
    ctx.lineWidth = Math.max(1, inside ? width - 1 : width);
    ctx.stroke(path);
  }
  ctx.restore();
}
function drawInferred() {
  ctx.save();
  ctx.strokeStyle = colours.inferred;
  ctx.lineWidth = Math.max(1.6, Math.min(4, 2.2 * camera.scale));
  ctx.setLineDash([5, 4]);
  ctx.lineCap = "butt";
  ctx.beginPath();
  for (const edge of edges) {
    if (!edge.inferred) continue;
    ctx.moveTo(...screenOf(edge.a));
    ctx.lineTo(...screenOf(edge.b));
  }
  ctx.stroke();
  ctx.restore();
}
function drawWalk() {
  if (walk.length < 2) return;
  // Under the camera's own way the walk steps back.
  const isGround = layers.camera && steps.length > 1 && camera.scale > 1.2;
  const width = isGround ? 3 : Math.max(5, Math.min(10, 5.5 * camera.scale));
  const points = walk.map(screenOf);
  const strokeUpTo = (from, to) => {
    ctx.beginPath();
    for (let i = from; i <= to; ++i) i === from ? ctx.moveTo(...points[i]) : ctx.lineTo(...points[i]);
    ctx.stroke();
  };
  ctx.strokeStyle = colours.walkCasing;
  ctx.lineWidth = width + 4;
  strokeUpTo(0, walk.length - 1);
  ctx.strokeStyle = colours.walk;
  ctx.lineWidth = width;
  strokeUpTo(0, walk.length - 1);
  // What lies behind the walker is darker.
  ctx.strokeStyle = colours.walked;
  if (Math.floor(position) > 0) strokeUpTo(0, Math.floor(position));
  if (isGround) return;
  drawArrows(points, width);
  if (camera.scale < 1.6) return;
  ctx.fillStyle = colours.walkCasing;
  for (const [x, y] of points) {
    ctx.beginPath();
    ctx.arc(x, y, width * .26, 0, 7);
    ctx.fill();
  }
}
/** Chevrons in walking direction, evenly spaced on the screen. */
function drawArrows(points, width) {
  const gap = 46;
  ctx.strokeStyle = colours.arrow;
  ctx.lineWidth = 1.6;
  let next = gap / 2, gone = 0;
  for (let i = 1; i < points.length; ++i) {
    const [ax, ay] = points[i - 1], [bx, by] = points[i];
    const length = Math.hypot(bx - ax, by - ay);
    while (length > 0 && next <= gone + length) {
      const t = (next - gone) / length;
      ctx.save();
      ctx.translate(ax + (bx - ax) * t, ay + (by - ay) * t);
      ctx.rotate(Math.atan2(by - ay, bx - ax));
      ctx.beginPath();
      ctx.moveTo(-width * .22, -width * .3);
      ctx.lineTo(width * .22, 0);
      ctx.lineTo(-width * .22, width * .3);
      ctx.stroke();
      ctx.restore();
      next += gap;
    }
    gone += length;
  }
}
/** Far off a panorama is a speck, close by a ring. */
function drawDots() {
  const radius = Math.max(.9, Math.min(5, 1.7 * camera.scale));
  const near = camera.scale > 1.3;
  ctx.lineWidth = 1.3;
  for (const pano of panos) {
    if (!pano.loaded || camera.scale < .2 || stopOf.has(pano.index)) continue;
    const [x, y] = screenOf(pano);
    if (x < -9 || y < -9 || x > size[0] + 9 || y > size[1] + 9) continue;
    const shown = levelShown === null || pano.level.ordinal === levelShown;
    ctx.globalAlpha = shown ? (near ? 1 : .5) : colours.dim;
    ctx.beginPath();
    ctx.arc(x, y, radius, 0, 7);
    const own = pano.level.id ? (pano.level.ordinal < 0 ? colours.levelBelow : colours.level)
      : pano.scene !== mainScene ? colours.other : colours.dot;
    ctx.fillStyle = near ? colours.dotFill : own;
    ctx.strokeStyle = own;
    ctx.fill();
    if (near) ctx.stroke();
  }
  ctx.globalAlpha = 1;
  drawPlaceholders(radius);
}
function drawPlaceholders(radius) {
  ctx.strokeStyle = colours.placeholder;
  ctx.lineWidth = 1.2;
  ctx.setLineDash([2, 2]);
  for (const pano of panos) {
    if (pano.loaded) continue;
    ctx.beginPath();
    ctx.arc(...screenOf(pano), Math.max(2.5, radius), 0, 7);
    ctx.stroke();
  }
  ctx.setLineDash([]);
}
function drawTurns() {
  for (const turn of tour.turns) {
    const pano = walk[turn[0]];
    const [x, y] = screenOf(pano);
    const r = Math.max(8, Math.min(11, 7 * camera.scale));
    ctx.save();
    ctx.translate(x, y);
    ctx.rotate(Math.PI / 4);
    ctx.beginPath();
    ctx.roundRect(-r * .75, -r * .75, r * 1.5, r * 1.5, 2);
    ctx.fillStyle = colours.turn;
    ctx.strokeStyle = colours.walkCasing;
    ctx.lineWidth = 2;
    ctx.fill();
    ctx.stroke();
    ctx.restore();
    ctx.fillStyle = colours.turnInk;
    ctx.font = `700 ${r * 1.35}px sans-serif`;
    ctx.textAlign = "center";
    ctx.textBaseline = "middle";
    ctx.fillText(turn[1] === "left" ? "\u21B0" : "\u21B1", x, y);
  }
}
function drawEnds() {
  if (!walk.length) return;
  drawPin(walk[walk.length - 1], colours.goal, "B");
  drawPin(walk[0], colours.start, "A");
}
function drawPin(pano, colour, letter) {
  const [x, y] = screenOf(pano);
  ctx.save();
  ctx.translate(x, y);
  ctx.shadowColor = "rgba(0,0,0,.3)";
  ctx.shadowBlur = 6;
  ctx.shadowOffsetY = 2;
  ctx.beginPath();
  ctx.moveTo(0, 0);
  ctx.bezierCurveTo(-4, -9, -12, -14, -12, -23);
  ctx.arc(0, -23, 12, Math.PI, 0);
  ctx.bezierCurveTo(12, -14, 4, -9, 0, 0);
  ctx.fillStyle = colour;
  ctx.fill();
  ctx.shadowColor = "transparent";
  ctx.strokeStyle = colours.walkCasing;
  ctx.lineWidth = 1.5;
  ctx.stroke();
  ctx.fillStyle = colours.arrow;
  ctx.font = "700 13px sans-serif";
  ctx.textAlign = "center";
  ctx.textBaseline = "middle";
  ctx.fillText(letter, 0, -22.5);
  ctx.restore();
}
/** Where the walker stands and looks; between two stops both are blended. */
function drawViewer() {
  const here = viewer();
  if (!here) return;
  const [x, y] = here.screen;
  const reach = Math.max(34, Math.min(90, 26 * camera.scale));
  const angle = (here.heading - 90) * Math.PI / 180;
  const fade = ctx.createRadialGradient(x, y, 4, x, y, reach);
  fade.addColorStop(0, colours.cone);
  fade.addColorStop(1, "rgba(0,0,0,0)");
  ctx.fillStyle = fade;
  ctx.beginPath();
  ctx.moveTo(x, y);
  ctx.arc(x, y, reach, angle - .55, angle + .55);
  ctx.fill();
  ctx.beginPath();
  ctx.arc(x, y, 7.5, 0, 7);
  ctx.fillStyle = colours.eye;
  ctx.strokeStyle = "#fff";
  ctx.lineWidth = 2.5;
  ctx.fill();
  ctx.stroke();
}
function viewer() {
  if (!selected) return null;
  if (!walk.length || selected !== walk[stop]) {
    return { screen: screenOf(selected), x: selected.x, y: selected.y, heading: selected.heading };
  }
  const index = stepAt(position);
  if (index >= 0) {
    const step = steps[index];
    return { screen: toScreen(step.x, step.y), heading: step.heading, x: step.x, y: step.y };
  }
  const i = Math.min(Math.floor(position), walk.length - 1), j = Math.min(i + 1, walk.length - 1);
  const t = position - i, [ax, ay] = screenOf(walk[i]), [bx, by] = screenOf(walk[j]);
  const from = headingAt(i), turn = ((headingAt(j) - from + 540) % 360) - 180;
  return { screen: [ax + (bx - ax) * t, ay + (by - ay) * t], heading: from + turn * t,
    x: walk[i].x + (walk[j].x - walk[i].x) * t, y: walk[i].y + (walk[j].y - walk[i].y) * t };
}
function headingAt(i) {
  return i + 1 < walk.length ? bearing(walk[i], walk[i + 1])
    : i > 0 ? bearing(walk[i - 1], walk[i]) : walk[i].heading;
}

// ---------------------------------------------------------------- labels
let taken = [];
function free(x, y, w, h) {
  const box = [x - w / 2, y - h / 2, x + w / 2, y + h / 2];
  if (taken.some((b) => box[0] < b[2] && box[2] > b[0] && box[1] < b[3] && box[3] > b[1])) return false;
  taken.push(box);
  return true;
}
function drawLabels() {
  taken = walk.length ? [walk[0], walk[walk.length - 1]].map((pano) => {
    const [x, y] = screenOf(pano);
    return [x - 14, y - 38, x + 14, y + 4];
  }) : [];
  for (const turn of tour.turns) {
    const [x, y] = screenOf(walk[turn[0]]);
    taken.push([x - 9, y - 9, x + 9, y + 9]);
  }
  drawAreaNames();
  drawStreetNames();
}
function drawAreaNames() {
  ctx.textAlign = "center";
  ctx.textBaseline = "middle";
  for (const shape of backdrop) {
    if (!shape.name || !shape.closed || !SHAPE_ORDER.includes(shape.kind)) continue;
    const [x, y] = toScreen(...middleOf(shape));
    const isWater = shape.kind === "sea" || shape.kind === "water";
    const big = shape.kind === "sea" || shape.kind === "land";
    const wide = widthOf(shape) * camera.scale;
    ctx.font = `italic ${isWater ? 600 : 500} ${big ? 19 : 12.5}px Georgia, "DejaVu Serif", serif`;
    const width = ctx.measureText(shape.name).width;
    if (width > Math.max(wide * 1.5, isWater || big ? 0 : 60 * camera.scale) || x < 0 || y < 0 || x > size[0] || y > size[1]) continue;
    if (!free(x, y, width, 18)) continue;
    ctx.strokeStyle = isWater ? "rgba(0,0,0,0)" : colours.halo;
    ctx.lineWidth = 3;
    ctx.strokeText(shape.name, x, y);
    ctx.fillStyle = isWater ? colours.waterLabel
      : shape.kind === "park" ? colours.areaLabel : colours.label;
    ctx.fillText(shape.name, x, y);
  }
}
function middleOf(shape) {
  if (shape.middle) return shape.middle;
  // The point of a coarse grid that lies deepest inside.
  let [w, n, e, s] = boundsOf(shape.points.map(([x, y]) => ({ x, y })));
  let best = -1, middle = [(w + e) / 2, (n + s) / 2];
  for (let i = 1; i < 12; ++i) for (let j = 1; j < 12; ++j) {
    const x = w + (e - w) * i / 12, y = n + (s - n) * j / 12;
    if (!inside(shape.points, x, y)) continue;
    let depth = Infinity;
    for (const [px, py] of shape.points) depth = Math.min(depth, Math.hypot(px - x, py - y));
    // Water that carries land keeps its name off the land.
    if (shape.kind === "sea") {
      for (const other of backdrop) {
        if (other.kind === "sea" || !other.closed) continue;
        if (inside(other.points, x, y)) depth = -1;
        for (const [px, py] of other.points) depth = Math.min(depth, Math.hypot(px - x, py - y));
      }
    }
    if (depth > best) { best = depth; middle = [x, y]; }
  }
  shape.wide = Math.max(2 * best, (e - w) * .5);
  return (shape.middle = middle);
}
function widthOf(shape) { middleOf(shape); return shape.wide; }
function inside(points, x, y) {
  let odd = false;
  for (let i = 0, j = points.length - 1; i < points.length; j = i++) {
    const [ax, ay] = points[i], [bx, by] = points[j];
    if ((ay > y) !== (by > y) && x < (bx - ax) * (y - ay) / (by - ay) + ax) odd = !odd;
  }
  return odd;
}
function drawStreetNames() {
  ctx.textBaseline = "middle";
  ctx.textAlign = "center";
  const drawn = new Map();
  for (const chain of chains) {
    if (levelShown !== null && chain.level.ordinal !== levelShown) continue;
    const pixels = chain.metres * camera.scale;
    if (pixels < 40 || (drawn.get(chain.name) || 0) > 1 + pixels / 900) continue;
    ctx.font = `600 ${Math.max(10.5, Math.min(14, 9 + camera.scale))}px "DejaVu Sans", sans-serif`;
    if (drawAlong(chain)) drawn.set(chain.name, (drawn.get(chain.name) || 0) + 1);
  }
}
/** Writes a street's name along the street itself, letter by letter, the right way up. */
function drawAlong(chain) {
  const line = smooth(chain.points.map(screenOf));
  const at = [0];
  for (let i = 1; i < line.length; ++i)
    at.push(at[i - 1] + Math.hypot(line[i][0] - line[i - 1][0], line[i][1] - line[i - 1][1]));
  const total = at[at.length - 1];
  const letters = [...chain.name], widths = letters.map((c) => ctx.measureText(c).width + .4);
  const needed = widths.reduce((sum, w) => sum + w, 0);
  if (needed + 12 > total) return false;
  const placeAt = (d) => {
    let i = 1;
    while (i < at.length - 1 && at[i] < d) ++i;
    const t = (d - at[i - 1]) / Math.max(1e-6, at[i] - at[i - 1]);
    const [ax, ay] = line[i - 1], [bx, by] = line[i];
    return [ax + (bx - ax) * t, ay + (by - ay) * t, Math.atan2(by - ay, bx - ax)];
  };
  // The calmest of a few places: little bend, on the screen, nothing in the way.
  let chosen = null;
  for (const share of [.5, .35, .65, .2, .8]) {
    const start = Math.max(6, Math.min(total - needed - 6, total * share - needed / 2));
    const first = placeAt(start), last = placeAt(start + needed);
    const [mx, my] = placeAt(start + needed / 2);
    if (mx < 0 || my < 0 || mx > size[0] || my > size[1]) continue;
    const turn = Math.abs(((last[2] - first[2] + 3 * Math.PI) % (2 * Math.PI)) - Math.PI);
    if (turn > 1.5) continue;
    const w = Math.abs(last[0] - first[0]) + 14, h = Math.abs(last[1] - first[1]) + 14;
    if (!free((first[0] + last[0]) / 2, (first[1] + last[1]) / 2, w, h)) continue;
    chosen = { start, flip: last[0] < first[0] };
    break;
  }
  if (!chosen) return false;
  const paint = (method) => {
    let d = chosen.flip ? chosen.start + needed : chosen.start;
    letters.forEach((letter, i) => {
      const middle = chosen.flip ? d - widths[i] / 2 : d + widths[i] / 2;
      const [x, y, angle] = placeAt(middle);
      ctx.save();
      ctx.translate(x, y);
      ctx.rotate(chosen.flip ? angle + Math.PI : angle);
      ctx[method](letter, 0, 0);
      ctx.restore();
      d += chosen.flip ? -widths[i] : widths[i];
    });
  };
  ctx.strokeStyle = colours.halo;
  ctx.lineWidth = 3.4;
  paint("strokeText");
  ctx.fillStyle = colours.label;
  paint("fillText");
  return true;
}
function smooth(points) {
  let line = points;
  for (let round = 0; round < 2; ++round) {
    line = line.map((p, i) => i === 0 || i === line.length - 1 ? p
      : [(line[i - 1][0] + 2 * p[0] + line[i + 1][0]) / 4, (line[i - 1][1] + 2 * p[1] + line[i + 1][1]) / 4]);
  }
  return line;
}
function drawScale() {
  const metres = [5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 50000]
    .find((m) => m * camera.scale >= 70) || 100000;
  byId("scale").querySelector("span").textContent = metresText(metres);
  byId("scale").querySelector("i").style.width = metres * camera.scale + "px";
}

// ---------------------------------------------------------------- the panel
function escapeText(text) {
  return String(text).replace(/[&<>"]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" }[c]));
}
function addressOf(pano) {
  return [pano.range, pano.street].filter(Boolean).join(" ") || "A place without a name";
}
function fillPanel() {
  const f = tour.figures;
  byId("title").textContent = tour.title;
  byId("lead").textContent = walk.length
    ? `A walk from ${walk[0].street || "the start"} to ${walk[walk.length - 1].street || "the goal"}`
      + (tour.lead ? ", " + tour.lead : "") + "." : "";
  const tile = (value, label) => `<div><b>${escapeText(value)}</b><span>${label}</span></div>`;
  byId("tiles").innerHTML = tile(metresText(f.path.metres), "walked")
    + tile(f.path.panoramas, "stops") + tile(f.path.turns, f.path.turns === 1 ? "turn" : "turns")
    + tile(f.panoramas, "panoramas");
  const rows = [
    ["Panoramas fetched", f.panoramas], ["Placeholders, not fetched", f.placeholders],
    ["Links", f.edges], ["of them inferred", f.inferred_links, 1],
    ["Requests", f.requests.id + f.requests.position + f.requests.tile + f.requests.depth
      + f.requests.image],
    ["by id", f.requests.id, 1], ["by position", f.requests.position, 1], ["by tile", f.requests.tile, 1],
    ["for depth maps", f.requests.depth, 1], ["for images", f.requests.image, 1],
    ["Repeats refused", f.refused], ["Failed requests", f.failed], ["Asked again", f.retried],
    ["Roads drawn", f.roads], ["Photo overlays", f.overlays], ["with a depth surface", f.surfaces, 1],
    ["Image tiles", f.images.tiles],
    ...Object.entries(f.images.dates).map(([date, tiles]) => ["taken " + date, tiles, 1]),
    ["without a date", f.images.undated, 1], ["unreadable", f.images.unreadable, 1],
    ["missing", f.images.missing, 1],
    ["Corridors", f.corridors], ["rounded corners", f.fillets, 1],
    ["Steps of the camera", f.camera.steps], ["pushed back", f.camera.pushed_back, 1],
    ["Usage reports received", f.usage.received],
    ["Hops", f.path.hops], ["Seconds", f.seconds.toFixed(2)],
    ["Panoramas a second", Math.round(f.panoramas_per_second)],
    ["Most memory", (f.peak_memory_bytes / 1048576).toFixed(1) + " MiB"],
  ];
  byId("figures").innerHTML = rows.map(([name, value, sub]) =>
    `<tr${sub ? ' class="sub"' : ""}><td>${name}</td><td>${escapeText(value)}</td></tr>`).join("");
  byId("credit").textContent = tour.attribution;
  byId("credit").hidden = !tour.attribution;
  byId("made").textContent = "Made by " + tour.made + ".";
  byId("slider").max = Math.max(0, walk.length - 1);
  const signs = { start: "\u25CF", left: "\u21B0", right: "\u21B1", along: "\u2191", arrive: "\u2691" };
  byId("steps").innerHTML = tour.steps.map(([kind, at, metres, text]) =>
    `<li><button data-stop="${at}"><span class="sign">${signs[kind]}</span>`
    + `<span>${escapeText(text)}</span><span class="at">${metresText(metres)}</span></button></li>`).join("");
  for (const button of byId("steps").querySelectorAll("button"))
    button.onclick = () => { pause(); goTo(+button.dataset.stop); reveal(walk[stop]); };
}
function showStop() {
  byId("slider").value = stop;
  byId("where-stop").textContent = walk.length ? `Stop ${stop + 1} of ${walk.length}` : "";
  byId("where-metres").textContent = walk.length
    ? `${metresText(walkAt[stop])} of ${metresText(walkAt[walkAt.length - 1])}` : "";
  let current = null;
  for (const button of byId("steps").querySelectorAll("button")) {
    button.removeAttribute("aria-current");
    if (+button.dataset.stop <= stop) current = button;
  }
  if (current) current.setAttribute("aria-current", "true");
  showCard();
}
function showCard() {
  const pano = selected;
  if (!pano) return;
  const facts = [];
  if (pano.level.id) facts.push("Level " + escapeText(pano.level.name || pano.level.id));
  if (pano.scene !== mainScene) facts.push("another scene");
  if (pano.date) facts.push("taken " + escapeText(pano.date));
  if (pano.imageDate && pano.imageDate !== pano.date)
    facts.push("by its image " + escapeText(pano.imageDate));
  if (pano.imageDate === null) facts.push("no date to be read from its image");
  if (!pano.loaded) facts.push("not fetched; placed by the link that leads to it");
  facts.push(`${pano.lat.toFixed(5)}, ${pano.lng.toFixed(5)}`);
  const links = pano.links.map((to) => {
    const deg = bearing(pano, to);
    return `<button data-pano="${to.index}" title="${escapeText(addressOf(to))}">`
      + `<span style="display:inline-block;transform:rotate(${deg}deg)">&uarr;</span> ${compassPoint(deg)}</button>`;
  }).join("");
  byId("card").innerHTML = dial(pano) + `<div><h2>${escapeText(addressOf(pano))}</h2>`
    + `<p>${facts.join(" &middot; ")}</p><code>${escapeText(pano.id)}</code><div class="links">${links}</div></div>`;
  for (const button of byId("card").querySelectorAll("button"))
    button.onclick = () => choose(panos[+button.dataset.pano]);
}
/** A compass: the image's heading as a needle, the links as ticks around it. */
function dial(pano) {
  const here = viewer(), looking = here ? here.heading : pano.heading;
  const ticks = pano.links.map((to) => {
    const a = (bearing(pano, to) - 90) * Math.PI / 180;
    return `<line x1="${48 + 32 * Math.cos(a)}" y1="${48 + 32 * Math.sin(a)}" x2="${48 + 42 * Math.cos(a)}" `
      + `y2="${48 + 42 * Math.sin(a)}" stroke="var(--accent)" stroke-width="5" stroke-linecap="round"/>`;
  }).join("");
  const deg = Math.round((looking % 360 + 360) % 360);
  return `<svg viewBox="0 0 96 116" width="96" height="116" role="img" aria-label="Heading ${deg} degrees">`
    + `<circle cx="48" cy="48" r="45" fill="var(--panel)" stroke="var(--rule)"/>`
    + `<circle cx="48" cy="48" r="29" fill="none" stroke="var(--rule)"/>`
    + `<text x="48" y="15" text-anchor="middle" font-size="9" font-weight="700" fill="var(--faint)">N</text>${ticks}`
    + `<g transform="rotate(${looking} 48 48)"><path d="M48 24 L57 63 L48 57 L39 63 Z" fill="var(--focus)"/></g>`
    + `<text x="48" y="111" text-anchor="middle" font-size="12" font-weight="600" fill="var(--soft)">`
    + `${deg}&deg; ${compassPoint(deg).replace(/([a-z])[a-z]*-?/g, "$1").toUpperCase()}</text></svg>`;
}
function drawLegend() {
  const line = (colour, width, dash, casing) => `<svg viewBox="0 0 30 14">`
    + (casing ? `<line x1="2" x2="28" y1="7" y2="7" stroke="${casing}" stroke-width="${width + 3}" stroke-linecap="round"/>` : "")
    + `<line x1="2" x2="28" y1="7" y2="7" stroke="${colour}" stroke-width="${width}" stroke-linecap="round"`
    + (dash ? ` stroke-dasharray="${dash}"` : "") + `/></svg>`;
  const dot = (stroke, dash) => `<svg viewBox="0 0 30 14"><circle cx="15" cy="7" r="4.4" fill="${colours.dotFill}" `
    + `stroke="${stroke}" stroke-width="1.6"${dash ? ' stroke-dasharray="2 2"' : ""}/></svg>`;
  const items = [[line(colours.walk, 5, "", colours.walkCasing), "the walk, in the direction of the arrows"]];
  if (tour.turns.length) items.push([`<svg viewBox="0 0 30 14"><rect x="10" y="2" width="10" height="10" rx="2" `
    + `transform="rotate(45 15 7)" fill="${colours.turn}"/></svg>`, "a turn"]);
  items.push([dot(colours.dot), "a panorama"]);
  const ranked = tour.colors.map((hex, i) => [hex, i]).sort((p, q) => tour.widths[q[1]] - tour.widths[p[1]]);
  for (const [hex, i] of ranked)
    if (tour.classes[i]) items.push([line(roadColour(hex), Math.min(8, tour.widths[i]), "", colours.casing), tour.classes[i]]);
  if (edges.some((edge) => edge.inferred))
    items.push([line(colours.inferred, 2.2, "4 4"), "a link that was inferred"]);
  if (panos.some((pano) => !pano.loaded))
    items.push([dot(colours.placeholder, true), "known by a link only, not fetched"]);
  if (panos.some((pano) => pano.loaded && pano.scene !== mainScene))
    items.push([dot(colours.other), "another scene"]);
  if (panos.some((pano) => pano.level.id && pano.level.ordinal >= 0))
    items.push([dot(colours.level), "on a level; upper ones lifted"]);
  if (panos.some((pano) => pano.level.id && pano.level.ordinal < 0))
    items.push([dot(colours.levelBelow), "on a level below ground"]);
  items.splice(1, 0, ...streetLegend(line));
  byId("legend-list").innerHTML = items.map(([sign, text]) => `<li>${sign}<span>${text}</span></li>`).join("");
}
function fillLevels() {
  const ordinals = new Map();
  for (const pano of panos)
    if (pano.level.id) ordinals.set(pano.level.ordinal, pano.level.name || pano.level.id);
  if (ordinals.size < 2) return;
  const box = byId("levels");
  box.hidden = false;
  const add = (text, ordinal) => {
    const chip = document.createElement("button");
    chip.className = "chip";
    chip.textContent = text;
    chip.setAttribute("aria-pressed", ordinal === levelShown);
    chip.onclick = () => {
      levelShown = ordinal;
      for (const other of box.children) other.setAttribute("aria-pressed", other === chip);
      requestDraw();
    };
    box.append(chip);
  };
  add("All levels", null);
  for (const ordinal of [...ordinals.keys()].sort((p, q) => p - q)) add(ordinals.get(ordinal), ordinal);
}

// ---------------------------------------------------------------- walking
const PLAY = '<svg viewBox="0 0 18 18"><path d="M4 2 L16 9 L4 16 Z"/></svg>';
const PAUSE = '<svg viewBox="0 0 18 18"><path d="M3 2 H7 V16 H3 Z M11 2 H15 V16 H11 Z"/></svg>';
function goTo(to) {
  if (!walk.length) return;
  position = Math.max(0, Math.min(walk.length - 1, to));
  stop = Math.round(position);
  selected = walk[stop];
  showStop();
  requestDraw();
}
function choose(pano) {
  pause();
  if (stopOf.has(pano.index)) goTo(stopOf.get(pano.index));
  else { selected = pano; showCard(); }
  reveal(pano);
  requestDraw();
}
/** Brings a place to the middle if it has left the screen. */
function reveal(place) {
  const [x, y] = toScreen(place.x, place.y);
  if (x < 60 || y < 60 || x > size[0] - 60 || y > size[1] - 60) {
    camera.x = place.x;
    camera.y = place.y;
    requestDraw();
  }
}
function pause() {
  playing = false;
  byId("play").innerHTML = PLAY;
  byId("play").setAttribute("aria-label", "Play the walk");
}
function play() {
  if (walk.length < 2) return;
  if (position >= walk.length - 1) goTo(0);
  playing = true;
  byId("play").innerHTML = PAUSE;
  byId("play").setAttribute("aria-label", "Pause");
  let last = performance.now();
  const speed = Math.max(2.5, walk.length / 40);  // Stops a second: no walk takes over 40 seconds.
  const frame = (now) => {
    if (!playing) return;
    goTo(position + Math.min(.2, (now - last) / 1000) * speed);
    last = now;
    const here = viewer();
    if (here) reveal(here);
    if (position >= walk.length - 1) pause(); else requestAnimationFrame(frame);
  };
  requestAnimationFrame(frame);
}

// ---------------------------------------------------------------- hands
const touches = new Map();
let moved = 0;
canvas.addEventListener("pointerdown", (event) => {
  canvas.setPointerCapture(event.pointerId);
  touches.set(event.pointerId, [event.offsetX, event.offsetY]);
  moved = 0;
  canvas.classList.add("dragging");
});
canvas.addEventListener("pointermove", (event) => {
  const before = touches.get(event.pointerId);
  if (!before) return hover(event.offsetX, event.offsetY);
  const now = [event.offsetX, event.offsetY];
  const others = [...touches.entries()].filter(([id]) => id !== event.pointerId).map(([, at]) => at);
  if (others.length) {
    const [ox, oy] = others[0];
    const was = Math.hypot(before[0] - ox, before[1] - oy);
    zoomBy(Math.hypot(now[0] - ox, now[1] - oy) / Math.max(1, was), (now[0] + ox) / 2, (now[1] + oy) / 2);
  }
  const share = others.length ? .5 : 1;
  camera.x -= (now[0] - before[0]) / camera.scale * share;
  camera.y -= (now[1] - before[1]) / camera.scale * share;
  moved += Math.abs(now[0] - before[0]) + Math.abs(now[1] - before[1]);
  touches.set(event.pointerId, now);
  requestDraw();
});
const letGo = (event) => {
  if (touches.delete(event.pointerId) && event.type === "pointerup" && moved < 5) {
    const pano = nearest(event.offsetX, event.offsetY, 16);
    if (pano) choose(pano);
  }
  if (!touches.size) canvas.classList.remove("dragging");
};
canvas.addEventListener("pointerup", letGo);
canvas.addEventListener("pointercancel", letGo);
canvas.addEventListener("pointerleave", () => hover(-999, -999));
canvas.addEventListener("wheel", (event) => {
  event.preventDefault();
  zoomBy(Math.exp(-event.deltaY * (event.deltaMode ? .05 : .0016)), event.offsetX, event.offsetY);
}, { passive: false });
canvas.addEventListener("dblclick", (event) => zoomBy(2, event.offsetX, event.offsetY));
function nearest(px, py, within) {
  let best = within, found = null;
  for (const pano of panos) {
    if (levelShown !== null && pano.level.ordinal !== levelShown) continue;
    const [x, y] = screenOf(pano);
    const d = Math.hypot(x - px, y - py);
    if (d < best) { best = d; found = pano; }
  }
  return found;
}
function hover(px, py) {
  const pano = nearest(px, py, 12), tip = byId("tip");
  hovered = pano;
  tip.style.display = pano ? "block" : "none";
  if (pano) {
    const [x, y] = screenOf(pano);
    tip.style.left = x + "px";
    tip.style.top = y + "px";
    tip.textContent = addressOf(pano) + (pano.level.id ? " \u00B7 " + (pano.level.name || pano.level.id) : "");
  }
  if (!touches.size) canvas.style.cursor = pano ? "pointer" : "";
}
window.addEventListener("keydown", (event) => {
  if (event.target.matches("input, summary") && event.key.startsWith("Arrow")) return;
  const act = {
    " ": () => (playing ? pause() : play()),
    ArrowRight: () => { pause(); goTo(stop + 1); reveal(selected); },
    ArrowLeft: () => { pause(); goTo(stop - 1); reveal(selected); },
    "+": () => zoomBy(1.4), "=": () => zoomBy(1.4), "-": () => zoomBy(1 / 1.4), 0: fit,
  }[event.key];
  if (!act || event.ctrlKey || event.metaKey || event.altKey) return;
  if (event.key === " " && event.target.matches("button, summary")) return;
  event.preventDefault();
  act();
});
byId("zoom-in").onclick = () => zoomBy(1.4);
byId("zoom-out").onclick = () => zoomBy(1 / 1.4);
byId("zoom-fit").onclick = fit;
byId("play").onclick = () => (playing ? pause() : play());
byId("slider").oninput = (event) => { pause(); goTo(+event.target.value); reveal(selected); };
byId("scheme").onclick = () => setScheme(schemeName === "dark" ? "light" : "dark");
wantsDark.addEventListener("change", (event) => setScheme(event.matches ? "dark" : "light"));
window.addEventListener("resize", resize);
