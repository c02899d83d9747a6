// SPDX-License-Identifier: Apache-2.0
// Draws a mesh without any help of the machine: triangles and lines into a picture with a depth for
// each of its points. Tens of thousands of triangles are turned fluently.
'use strict';
(() => {
  const data = JSON.parse(document.getElementById('data').textContent);
  const byId = (id) => document.getElementById(id);
  byId('title').textContent = data.title;
  byId('credit').textContent = data.credit;
  byId('made').textContent = data.made;
  for (const [name, value] of data.facts) {
    const dt = document.createElement('dt');
    const dd = document.createElement('dd');
    dt.textContent = name;
    dd.textContent = value;
    byId('facts').append(dt, dd);
  }

  const floats = (text) => {
    const bytes = Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
    return new Float32Array(bytes.buffer, 0, bytes.length >> 2);
  };
  const sets = data.sets.map((set) => ({
    color: set.color,
    triangles: set.triangles && floats(set.triangles),
    lines: set.lines && floats(set.lines),
  }));

  // The box around everything; its middle is the origin already.
  let radius = 1e-9;
  for (const set of sets) {
    const numbers = set.triangles || set.lines;
    const step = set.triangles ? 6 : 3;
    for (let i = 0; i < numbers.length; i += step) {
      radius = Math.max(radius, Math.hypot(numbers[i], numbers[i + 1], numbers[i + 2]));
    }
  }

  const view = { turn: -0.6, tilt: 0.75, zoom: 1.15, x: 0, y: 0 };
  const canvas = byId('view');
  const context = canvas.getContext('2d');
  const paper = [238, 241, 242];
  // Where the light comes from, seen from the camera: above, from the left, a little in front.
  const light = [-0.45, 0.5, 0.74];
  let width = 0;
  let height = 0;
  let image = null;
  let depth = null;

  function resize() {
    const ratio = Math.min(window.devicePixelRatio || 1, 2);
    width = canvas.width = Math.max(1, Math.round(canvas.clientWidth * ratio));
    height = canvas.height = Math.max(1, Math.round(canvas.clientHeight * ratio));
    image = context.createImageData(width, height);
    depth = new Float32Array(width * height);
    request();
  }

  // Turned about z, then tilted: x to the right, y upwards, z towards the eye.
  function camera() {
    const [c, s] = [Math.cos(view.turn), Math.sin(view.turn)];
    const [ct, st] = [Math.cos(view.tilt), Math.sin(view.tilt)];
    return (x, y, z, out) => {
      const side = c * x - s * y;
      const away = s * x + c * y;
      out[0] = side;
      out[1] = st * away + ct * z;
      out[2] = ct * -away + st * z;
    };
  }

  function draw() {
    const pixels = image.data;
    for (let i = 0; i < pixels.length; i += 4) {
      pixels[i] = paper[0];
      pixels[i + 1] = paper[1];
      pixels[i + 2] = paper[2];
      pixels[i + 3] = 255;
    }
    depth.fill(-Infinity);
    const turn = camera();
    const scale = (Math.min(width, height) / 2 / radius) * view.zoom;
    const place = [0, 0, 0];
    const normal = [0, 0, 0];
    const corner = [new Float64Array(4), new Float64Array(4), new Float64Array(4)];

    function project(numbers, i, out) {
      turn(numbers[i], numbers[i + 1], numbers[i + 2], place);
      out[0] = width / 2 + view.x + place[0] * scale;
      out[1] = height / 2 + view.y - place[1] * scale;
      out[2] = place[2];
    }

    function fill(color) {
      const [a, b, c] = corner;
      const area = (b[0] - a[0]) * (c[1] - a[1]) - (c[0] - a[0]) * (b[1] - a[1]);
      if (area === 0 || !isFinite(area)) return;
      const top = Math.max(0, Math.ceil(Math.min(a[1], b[1], c[1]) - 0.5));
      const bottom = Math.min(height - 1, Math.floor(Math.max(a[1], b[1], c[1]) - 0.5));
      const left = Math.max(0, Math.ceil(Math.min(a[0], b[0], c[0]) - 0.5));
      const right = Math.min(width - 1, Math.floor(Math.max(a[0], b[0], c[0]) - 0.5));
      for (let y = top; y <= bottom; ++y) {
        for (let x = left; x <= right; ++x) {
          const px = x + 0.5;
          const py = y + 0.5;
          const u = ((b[0] - px) * (c[1] - py) - (c[0] - px) * (b[1] - py)) / area;
          const v = ((c[0] - px) * (a[1] - py) - (a[0] - px) * (c[1] - py)) / area;
          const w = 1 - u - v;
          if (u < 0 || v < 0 || w < 0) continue;
          const z = u * a[2] + v * b[2] + w * c[2];
          const at = y * width + x;
          if (z <= depth[at]) continue;
          depth[at] = z;
          const shade = u * a[3] + v * b[3] + w * c[3];
          pixels[4 * at] = 255 * Math.min(1, color[0] * shade);
          pixels[4 * at + 1] = 255 * Math.min(1, color[1] * shade);
          pixels[4 * at + 2] = 255 * Math.min(1, color[2] * shade);
        }
      }
    }

    function stroke(color) {
      const [a, b] = corner;
      const steps = Math.ceil(Math.max(Math.abs(b[0] - a[0]), Math.abs(b[1] - a[1]), 1));
      if (!(steps < 4 * (width + height))) return;
      // Edges lie on the faces that they belong to, so they come forward a little.
      const forward = 2.5 / scale;
      for (let i = 0; i <= steps; ++i) {
        const t = i / steps;
        const x = Math.floor(a[0] + t * (b[0] - a[0]));
        const y = Math.floor(a[1] + t * (b[1] - a[1]));
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        const z = a[2] + t * (b[2] - a[2]) + forward;
        const at = y * width + x;
        if (z < depth[at]) continue;
        depth[at] = z;
        pixels[4 * at] = 255 * color[0];
        pixels[4 * at + 1] = 255 * color[1];
        pixels[4 * at + 2] = 255 * color[2];
      }
    }

    for (const set of sets) {
      const numbers = set.triangles;
      if (!numbers) continue;
      for (let i = 0; i + 17 < numbers.length; i += 18) {
        for (let k = 0; k < 3; ++k) {
          project(numbers, i + 6 * k, corner[k]);
          const n = i + 6 * k + 3;
          turn(numbers[n], numbers[n + 1], numbers[n + 2], normal);
          const lit = normal[0] * light[0] + normal[1] * light[1] + normal[2] * light[2];
          corner[k][3] = 0.5 + 0.75 * Math.max(0, lit);
        }
        fill(set.color);
      }
    }
    for (const set of sets) {
      const numbers = set.lines;
      if (!numbers) continue;
      // Darker than the faces, or light lines are lost on them.
      const color = set.color.map((part) => 0.45 * part);
      for (let i = 0; i + 5 < numbers.length; i += 6) {
        project(numbers, i, corner[0]);
        project(numbers, i + 3, corner[1]);
        stroke(color);
      }
    }
    context.putImageData(image, 0, 0);
  }

  let asked = false;
  function request() {
    if (asked) return;
    asked = true;
    requestAnimationFrame(() => {
      asked = false;
      draw();
    });
  }
  function change(turn, tilt, zoom) {
    view.turn += turn;
    view.tilt = Math.min(Math.PI / 2, Math.max(0, view.tilt + tilt));
    view.zoom = Math.min(200, Math.max(0.2, view.zoom * zoom));
    request();
  }
  canvas.addEventListener('pointerdown', (event) => {
    canvas.setPointerCapture(event.pointerId);
    canvas.classList.add('dragging');
  });
  canvas.addEventListener('pointermove', (event) => {
    if (!canvas.classList.contains('dragging')) return;
    if (event.shiftKey) {
      view.x += event.movementX;
      view.y += event.movementY;
      request();
    } else {
      change(event.movementX * 0.006, event.movementY * 0.006, 1);
    }
  });
  for (const end of ['pointerup', 'pointercancel']) {
    canvas.addEventListener(end, () => canvas.classList.remove('dragging'));
  }
  canvas.addEventListener('wheel', (event) => {
    event.preventDefault();
    change(0, 0, Math.exp(-event.deltaY * 0.0015));
  }, { passive: false });
  canvas.addEventListener('keydown', (event) => {
    const keys = {
      ArrowLeft: [-0.1, 0, 1], ArrowRight: [0.1, 0, 1], ArrowUp: [0, -0.1, 1],
      ArrowDown: [0, 0.1, 1], '+': [0, 0, 1.2], '-': [0, 0, 1 / 1.2],
    };
    if (keys[event.key]) {
      event.preventDefault();
      change(...keys[event.key]);
    }
  });
  window.addEventListener('resize', resize);
  resize();
})();
