// pages/looks.cpp: light and dark by the reader's wish, narrow and wide, on paper. Marks have the
// colours that they have in trees.
#include "pages/looks.h"

#include "cli/pictures/treestyle.h"

namespace pages {
namespace {

constexpr const char* kStyleSheet = R"css(
:root{color-scheme:light dark;--paper:#fff;--ground:#f6f8fa;--ink:#1f2328;--muted:#59636e;
--line:#d8dee4;--link:#0858bd;--hover:#f0f4f8;
--label:#fff8c5;--label-ink:#6c4400;--label-line:#d4a72c;
--group:#ffeff7;--group-ink:#99286e;--group-line:#e0a0c8;
--lock:#ffebe9;--lock-ink:#a40e26;--lock-line:#f0a8a4;
--gone:#ffebe9;--gone-word:#ffb8b0;--new:#e2fbe8;--new-word:#98e6ad}
@media (prefers-color-scheme:dark){:root{--paper:#0d1117;--ground:#151b23;--ink:#e6edf3;
--muted:#9198a1;--line:#2f3742;--link:#6cb2ff;--hover:#171e27;
--label:#341a00;--label-ink:#eac54f;--label-line:#6b4d0a;
--group:#42102b;--group-ink:#ffadd6;--group-line:#7d2a57;
--lock:#3c1418;--lock-ink:#ffa198;--lock-line:#86282c;
--gone:#3c1418;--gone-word:#8a2a2a;--new:#12311f;--new-word:#1f6f3c}}
*{box-sizing:border-box}
html{background:var(--paper);color:var(--ink);font:15px/1.5 system-ui,sans-serif;
-webkit-text-size-adjust:100%}
body{margin:0}
a{color:var(--link);text-decoration:none}
a:hover{text-decoration:underline}
:focus-visible{outline:2px solid var(--link);outline-offset:2px;border-radius:3px}
header{background:var(--ground);border-bottom:1px solid var(--line)}
.trail{max-width:84rem;margin:0 auto;padding:.6rem 1.5rem 0;display:flex;flex-wrap:wrap;
align-items:baseline;column-gap:.5rem}
.trail>a{padding-bottom:.6rem}
.trail .project{font-weight:600;color:inherit;overflow-wrap:anywhere;max-width:calc(100% - 6rem)}
.trail .sep{color:var(--muted)}
.tabs{display:flex;flex-wrap:wrap;margin-left:auto;column-gap:1.4rem}
.tabs a{color:var(--muted);padding-bottom:.5rem;border-bottom:2px solid transparent}
.tabs a:hover{color:var(--ink);text-decoration:none;border-color:var(--line)}
.tabs a[aria-current]{color:var(--ink);border-color:var(--link);font-weight:600}
main{max-width:84rem;margin:0 auto;padding:1.4rem 1.5rem 4rem}
h1{font-size:1.6rem;line-height:1.25;font-weight:600;margin:0 0 .3rem;overflow-wrap:anywhere}
h2{font-size:1.1rem;font-weight:600;margin:2rem 0 .7rem}
p{margin:0 0 .5rem}
.summary,.muted,time,.count{color:var(--muted)}
.summary{margin-bottom:1.3rem}
.nothing{color:var(--muted);margin:1rem 0;padding:2rem 1rem;text-align:center;border:1px dashed var(--line);
border-radius:8px}
.problem{background:var(--lock);color:var(--lock-ink);border:1px solid var(--lock-line);
border-radius:8px;padding:.7rem 1rem;margin:.8rem 0;overflow-wrap:anywhere}
time,.number,.count{font-variant-numeric:tabular-nums;white-space:nowrap}
.number,.checksum{font-family:ui-monospace,monospace;font-size:.87em}
.name{overflow-wrap:anywhere}
.message{white-space:pre-line;overflow-wrap:anywhere}
.mark{display:inline-block;max-width:100%;overflow:hidden;text-overflow:ellipsis;
white-space:nowrap;vertical-align:bottom;font-size:.8rem;line-height:1.35rem;padding:0 .55em;
border:1px solid var(--line);border-radius:1rem;color:var(--muted)}
.mark.label{background:var(--label);color:var(--label-ink);border-color:var(--label-line);
border-radius:4px}
.mark.group{background:var(--group);color:var(--group-ink);border-color:var(--group-line);
border-radius:4px 1rem 1rem 4px}
.mark.lock,.mark.broken{background:var(--lock);color:var(--lock-ink);
border-color:var(--lock-line)}
.mark.broken{font-weight:600;border-radius:4px}
.marks{display:flex;flex-wrap:wrap;gap:.25rem;min-width:0}
ul,ol{list-style:none;margin:0;padding:0}
.cards{display:grid;grid-template-columns:repeat(auto-fill,minmax(min(19rem,100%),1fr));gap:1rem;
margin-top:1.2rem}
.cards li{border:1px solid var(--line);border-radius:8px;padding:1rem 1.1rem}
.cards .name{font-size:1.1rem;font-weight:600}
.cards p{margin:.25rem 0 0;overflow-wrap:anywhere}
.filter{display:flex;align-items:center;gap:1rem;margin-bottom:1rem}
.filter[hidden]{display:none}
.filter output{color:var(--muted);white-space:nowrap}
input[type=search]{font:inherit;color:inherit;background:var(--paper);width:min(26rem,100%);
padding:.4rem .7rem;border:1px solid var(--line);border-radius:6px}
button,select{font:inherit;color:inherit;background:var(--ground);border:1px solid var(--line);
border-radius:6px;padding:.25rem .8rem;max-width:100%}
button:hover{background:var(--hover);cursor:pointer}
.tree{border:1px solid var(--line);border-radius:8px;overflow:hidden}
.tree details{content-visibility:auto;contain-intrinsic-size:auto none auto 34px}
.tree summary{padding:.3rem .9rem;background:var(--ground);cursor:pointer;
border-bottom:1px solid var(--line);font-weight:600;overflow-wrap:anywhere}
.tree summary:hover{background:var(--hover)}
.tree .count{font-weight:400;font-size:.85em;margin-left:.6rem}
.files li{display:grid;align-items:baseline;column-gap:1rem;padding:.3rem .9rem;
grid-template-columns:minmax(9rem,3fr) 4.5rem 9.2rem 6rem minmax(7rem,3fr) minmax(8rem,3fr);
border-bottom:1px solid var(--line);scroll-margin:4rem}
.tree>:last-child:is(ul)>li:last-child{border-bottom:0}
.files li:hover,.list tbody tr:hover,.log li:hover{background:var(--hover)}
.files .what{overflow:hidden;text-overflow:ellipsis;white-space:nowrap}
.who{overflow:hidden;text-overflow:ellipsis;white-space:nowrap}
.tree{--in:0rem}
.d1{--in:1.2rem}.d2{--in:2.4rem}.d3{--in:3.6rem}.d4{--in:4.8rem}.d5{--in:6rem}
.d6,.d7,.d8,.d9{--in:7.2rem}
.files .name{padding-left:var(--in)}.tree summary{padding-left:calc(.9rem + var(--in))}
.tree [hidden]{display:none}
.facts{display:grid;grid-template-columns:max-content 1fr;gap:.2rem 1.2rem;margin:.6rem 0 0}
.facts dt{color:var(--muted)}
.facts dd{margin:0;overflow-wrap:anywhere}
.picture{overflow-x:auto;border:1px solid var(--line);border-radius:8px;max-height:36rem;
overflow-y:auto;background:var(--paper)}
.picture svg{display:block}
.image{margin:.5rem 0}
.image img{max-width:100%;height:auto;border:1px solid var(--line);border-radius:6px;
background:repeating-conic-gradient(#8883 0 25%,transparent 0 50%) 0 0/16px 16px}
.log{border:1px solid var(--line);border-radius:8px;overflow:hidden}
.log li{display:grid;align-items:baseline;column-gap:1rem;padding:.45rem .9rem;
grid-template-columns:auto minmax(4rem,max-content) 9.2rem 6rem minmax(0,1fr) auto;
border-bottom:1px solid var(--line);content-visibility:auto;contain-intrinsic-size:auto 36px}
.log li:last-child{border-bottom:0}
.log li:not(:has(.choice)){grid-template-columns:minmax(4rem,max-content) 9.2rem 6rem minmax(0,1fr) auto}
.log .what{display:flex;flex-wrap:wrap;gap:.15rem .7rem;min-width:0}
.log .more{display:flex;flex-wrap:wrap;justify-content:flex-end;gap:0 1rem;white-space:nowrap}
.choice{display:flex;gap:.3rem}
.choice input{margin:0}
.choose{margin:.4rem 0 .8rem}
.list{border-collapse:collapse;width:100%;border:1px solid var(--line)}
.list th{text-align:left;font-weight:600;background:var(--ground)}
.list th,.list td{padding:.4rem .9rem;border-bottom:1px solid var(--line);vertical-align:baseline}
.list td.count{text-align:left}
.list td:first-child{min-width:11rem}
.list .what{overflow-wrap:anywhere}
.both{display:grid;grid-template-columns:minmax(0,1fr) minmax(0,1fr);gap:1.2rem;margin-bottom:1rem}
.side{min-width:0}
.side p{margin:0 0 .2rem}
.side .mark{margin-right:.25rem}
.sides{border-collapse:collapse;table-layout:fixed;width:100%;border:1px solid var(--line);
font:13px/1.55 ui-monospace,monospace}
.sides td{padding:0 .6rem;vertical-align:top}
.sides col.at{width:3.6rem}
.sides .at{text-align:right;color:var(--muted);user-select:none;padding:0 .5rem}
.sides .text{white-space:pre-wrap;overflow-wrap:anywhere;tab-size:4;border-right:1px solid var(--line)}
.sides .text .mark{font:11px/1.2 system-ui,sans-serif;margin-left:.6em;vertical-align:baseline}
.sides mark{color:inherit;border-radius:2px}
.sides .gap{background:var(--ground)}
.sides .fold td{background:var(--ground);color:var(--muted);text-align:center;padding:.15rem;
font-family:system-ui,sans-serif;border:1px solid var(--line);border-width:1px 0}
.changed td:nth-child(-n+2),.deleted td:nth-child(-n+2){background:var(--gone)}
.changed td:nth-child(n+3),.added td:nth-child(n+2){background:var(--new)}
.changed td:nth-child(-n+2) mark{background:var(--gone-word)}
.changed td:nth-child(n+3) mark{background:var(--new-word)}
.events{border-left:2px solid var(--line);padding-left:1.2rem}
.events>li{display:grid;grid-template-columns:3.2rem 6rem minmax(0,1fr);column-gap:1rem;
align-items:baseline;padding:.35rem 0}
.events .what p{margin:0}
.touched{display:flex;flex-wrap:wrap;gap:.1rem 1.2rem;font-size:.93em}
@media (max-width:60rem){
.files li{grid-template-columns:minmax(9rem,3fr) 4.5rem 9.2rem 6rem minmax(7rem,3fr)}
.files .what{display:none}}
@media (max-width:46rem){
.trail,main{padding-left:1rem;padding-right:1rem}
.tabs{margin-left:0;width:100%;column-gap:1.2rem}
.files li{display:flex;flex-wrap:wrap;column-gap:.7rem;padding-top:.45rem;padding-bottom:.45rem}
.files .name{width:100%}
.files .marks{width:100%}
.files .marks:empty{display:none}
.d1{--in:.6rem}.d2{--in:1.2rem}.d3{--in:1.8rem}.d4,.d5,.d6,.d7,.d8,.d9{--in:2.4rem}
.files .number,.files .marks{padding-left:var(--in)}
.log li,.log li:not(:has(.choice)){display:flex;flex-wrap:wrap;column-gap:.8rem}
.log .what{width:100%}
.choice input{width:1.1rem;height:1.1rem}
.log .more{width:100%;justify-content:flex-start}
.list,.list tbody,.list tr,.list td{display:block}
.list{border-bottom:0}
.list thead{display:none}
.list tr{padding:.45rem .9rem;border-bottom:1px solid var(--line);display:flex;flex-wrap:wrap;
column-gap:.8rem}
.list td{padding:0;border:0}
.list td:first-child{width:100%}
.list td:empty{display:none}
.facts{grid-template-columns:1fr;gap:0}
.facts dd{margin-bottom:.5rem}
.both{grid-template-columns:minmax(0,1fr)}
.sides,.sides tbody,.sides tr{display:block}
.sides tr{display:grid;grid-template-columns:3.2rem minmax(0,1fr)}
.sides colgroup{display:none}
.sides .text{border-right:0}
.sides .gap,.same td:nth-child(n+3){display:none}
.sides .fold{display:block}
.sides .fold td{display:block}
.events{padding-left:.8rem}
.events>li{grid-template-columns:3.2rem minmax(0,1fr)}
.events .what{grid-column:2}}
@media print{html{font-size:11px}header,.filter,.choose,.choice{display:none!important}
.tree,.log,.picture{border:0;overflow:visible;max-height:none}
.tree details,.log li{content-visibility:visible;break-inside:auto}
.files li,.log li,.list tr,.events>li{break-inside:avoid}
.picture svg{max-width:100%;height:auto}
a{color:inherit}
*{-webkit-print-color-adjust:exact;print-color-adjust:exact}}
)css";

constexpr const char* kScriptText = R"js('use strict';
(() => {
  const field = document.getElementById('filter');
  if (!field) return;
  field.closest('.filter').hidden = false;
  const tree = document.getElementById('tree');
  const found = document.getElementById('found');
  const rows = [...tree.querySelectorAll('li')];
  const folders = [...tree.querySelectorAll('details')].reverse();
  // What a row is looked for by: its whole path, and what stands in it.
  const texts = rows.map((row) => {
    let text = row.textContent;
    for (let at = row.closest('details'); at; at = at.parentElement.closest('details')) {
      text = at.querySelector('.directory').textContent + text;
    }
    return text.toLowerCase();
  });
  const show = () => {
    const words = field.value.toLowerCase().split(/\s+/).filter((word) => word);
    let count = 0;
    rows.forEach((row, i) => {
      const isThere = words.every((word) => texts[i].includes(word));
      if (row.hidden === isThere) row.hidden = !isThere;
      if (isThere) count += 1;
    });
    for (const folder of folders) {
      folder.hidden = !folder.querySelector('li:not([hidden])');
      if (words.length) folder.open = true;
    }
    found.textContent = words.length ? count + ' of ' + rows.length : '';
  };
  field.addEventListener('input', show);
  document.addEventListener('keydown', (event) => {
    const isTyping = document.activeElement && document.activeElement.tagName === 'INPUT';
    if (event.key === '/' && !isTyping) {
      event.preventDefault();
      field.focus();
    }
  });
  if (field.value) show();
})();
)js";

}  // namespace

std::string styleSheet() { return kStyleSheet + cli::treeStyle(); }
std::string_view script() { return kScriptText; }

}  // namespace pages
