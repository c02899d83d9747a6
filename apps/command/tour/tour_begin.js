// SPDX-License-Identifier: Apache-2.0
// Opens the page, once everything is defined. A link such as tour.html#stop=12&dark opens at that
// stop, in that scheme; zoom=4 looks closer, roads=1 and corridors=0 switch layers.

const wish = new URLSearchParams(location.hash.slice(1));
fillPanel();
fillLevels();
for (const name of Object.keys(layers)) if (wish.has(name)) layers[name] = wish.get(name) !== "0";
fillLayers();
fillChart();
pause();
if (wish.has("dark")) schemeName = "dark";
if (wish.has("light")) schemeName = "light";
resize();
setScheme(schemeName);
fit();
goTo(Number(wish.get("stop") || 1) - 1 || 0);
if (wish.has("zoom")) { camera.x = selected.x; camera.y = selected.y; camera.scale = +wish.get("zoom") || 1; }
if (wish.has("play")) play();
