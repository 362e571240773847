#include "hosts/lumivane/HttpPage.h"

namespace lumivane {
namespace {

constexpr char kPage[] = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Lumivane</title>
<link rel="icon" href="icon.svg" type="image/svg+xml">
<link rel="stylesheet" href="page.css">
</head>
<body>
<header>
<h1><img src="icon.svg" alt="" width="28" height="28"> Lumivane</h1>
<p id="state" class="state" role="status" data-state="WAIT">connecting</p>
</header>
<main>
<figure id="stage">
<img id="picture" src="stream.mjpg" alt="Live picture of the camera" width="640" height="480">
</figure>
<nav aria-label="Picture">
<button type="button" id="pause" aria-pressed="false">Freeze</button>
<button type="button" id="mirror" aria-pressed="false">Mirror</button>
<button type="button" id="full">Full screen</button>
<a class="button" href="snapshot.jpg" download="lumivane.jpg">Snapshot</a>
</nav>
<section aria-label="State">
<dl>
<div><dt>Camera</dt><dd id="camera">&ndash;</dd></div>
<div><dt>Size</dt><dd id="size">&ndash;</dd></div>
<div><dt>Rate</dt><dd id="rate">&ndash;</dd></div>
<div><dt>Age</dt><dd id="age">&ndash;</dd></div>
<div><dt>Dropped</dt><dd id="dropped">&ndash;</dd></div>
<div><dt>Viewers</dt><dd id="clients">&ndash;</dd></div>
</dl>
</section>
<noscript><p>Without scripts the picture moves, but its state is not shown.</p></noscript>
</main>
<footer><a href="stream.mjpg">stream.mjpg</a> <a href="snapshot.jpg">snapshot.jpg</a>
<a href="status.json">status.json</a></footer>
<script src="page.js"></script>
</body>
</html>
)html";

constexpr char kStyle[] = R"css(:root {
  color-scheme: light dark;
  --paper: #f4f5f7; --panel: #ffffff; --ink: #1b1f27; --soft: #565e6c; --line: #d4d8df;
  --accent: #1d5fbf; --good: #14743a; --doubt: #8a5300; --bad: #b3261e;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #14171c; --panel: #1d2128; --ink: #eceff4; --soft: #a6aebb; --line: #343a45;
    --accent: #8ab4f8; --good: #6fd392; --doubt: #f2b84b; --bad: #ff8a80;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1rem; max-width: 70rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.5 system-ui, "DejaVu Sans", sans-serif;
}
header { display: flex; align-items: center; justify-content: space-between; gap: 1rem; }
h1 { display: flex; align-items: center; gap: .5rem; margin: 0; font-size: 1.4rem; }
.state {
  margin: 0; padding: .2rem .8rem; border: 2px solid currentColor; border-radius: 1rem;
  font-weight: 700; letter-spacing: .05em; color: var(--soft);
}
.state::before { content: "\25CF\00A0"; }
.state[data-state=LIVE] { color: var(--good); }
.state[data-state=STALE] { color: var(--doubt); }
.state[data-state=NONE], .state[data-state=LOST] { color: var(--bad); }
figure {
  margin: 1rem 0; background: #000; border: 1px solid var(--line); border-radius: .5rem;
  overflow: hidden; display: flex; justify-content: center;
}
#picture { width: 100%; height: auto; max-height: 78vh; object-fit: contain; display: block; }
#picture.mirrored { transform: scaleX(-1); }
figure:fullscreen #picture { max-height: 100vh; height: 100vh; }
nav { display: flex; flex-wrap: wrap; gap: .5rem; }
button, .button {
  font: inherit; color: var(--ink); background: var(--panel); border: 1px solid var(--line);
  border-radius: .4rem; padding: .4rem .9rem; cursor: pointer; text-decoration: none;
}
button:hover, .button:hover { border-color: var(--accent); }
button[aria-pressed=true] { background: var(--accent); color: var(--paper); }
:focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
dl {
  display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: .5rem;
  margin: 1rem 0;
}
dl div {
  background: var(--panel); border: 1px solid var(--line); border-radius: .4rem;
  padding: .4rem .8rem;
}
dt { color: var(--soft); font-size: .85rem; }
dd { margin: 0; font-variant-numeric: tabular-nums; overflow-wrap: anywhere; }
footer { color: var(--soft); font-size: .85rem; }
a { color: var(--accent); margin-right: .8rem; }
)css";

constexpr char kScript[] = R"js('use strict';
const at = (id) => document.getElementById(id);
const picture = at('picture');
const state = at('state');
let frozen = false;

// A new question each time: the browser would show what it has.
const play = () => { picture.src = 'stream.mjpg?' + Date.now(); };
picture.addEventListener('error', () => { if (!frozen) setTimeout(play, 2000); });

const say = (id, text) => { if (at(id).textContent !== text) at(id).textContent = text; };
const show = (name) => {
  state.dataset.state = name;
  say('state', name === 'LOST' ? 'no connection' : name === 'NONE' ? 'NO CAMERA' : name);
};

async function look() {
  try {
    const answer = await fetch('status.json', { cache: 'no-store' });
    const now = await answer.json();
    const wasLost = state.dataset.state === 'LOST';
    show(now.state);
    say('camera', now.camera || 'none');
    say('size', now.width + ' × ' + now.height);
    say('rate', now.framesPerSecond.toFixed(1) + ' per second');
    say('age', now.ageMilliseconds === null ? 'not known' : Math.round(now.ageMilliseconds) + ' ms');
    say('dropped', now.dropped === null ? 'not known' : String(now.dropped));
    say('clients', String(now.clients));
    picture.width = now.width;
    picture.height = now.height;
    if (wasLost && !frozen) play();
  } catch (error) {
    show('LOST');
  }
  setTimeout(look, 1000);
}
look();

at('pause').addEventListener('click', () => {
  frozen = !frozen;
  at('pause').setAttribute('aria-pressed', frozen);
  if (frozen) picture.src = 'snapshot.jpg?' + Date.now(); else play();
});
at('mirror').addEventListener('click', () => {
  at('mirror').setAttribute('aria-pressed', picture.classList.toggle('mirrored'));
});
at('full').addEventListener('click', () => {
  if (document.fullscreenElement) document.exitFullscreen(); else at('stage').requestFullscreen();
});
)js";

constexpr char kIcon[] = R"svg(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 64 64">
<rect x="4" y="12" width="56" height="40" rx="8" fill="#1d5fbf"/>
<circle cx="32" cy="32" r="14" fill="#fff"/><circle cx="32" cy="32" r="8" fill="#14171c"/>
<circle cx="51" cy="20" r="3" fill="#6fd392"/></svg>
)svg";

constexpr PageFile kFiles[] = {
    {"/", "text/html; charset=utf-8", kPage},
    {"/page.css", "text/css; charset=utf-8", kStyle},
    {"/page.js", "text/javascript; charset=utf-8", kScript},
    {"/icon.svg", "image/svg+xml", kIcon},
};

}  // namespace

const PageFile* FindPageFile(const std::string& path) {
  for (const PageFile& file : kFiles) {
    if (path == file.path) return &file;
  }
  return nullptr;
}

}  // namespace lumivane
