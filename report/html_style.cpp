// How the page looks: colours and shapes, by day and by night, narrow and on paper.
#include "report/html_parts.h"

namespace report {

markup page_style() {
  return {R"page(<style>
:root { --paper: #fff; --ink: #1c2126; --faint: #5a646e; --line: #d5dadf; --head: #f3f5f7;
  --used: #2f6ca8; --pre: #8fc1a9; --lost: #c2372f; --none: #e9edf0; --noid: #a86200; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #14181c; --ink: #e2e6ea; --faint: #9aa5b0; --line: #38414a; --head: #1d2329;
    --used: #5c9bd8; --pre: #3f7a60; --lost: #ef6a60; --none: #262d34; --noid: #e0a040; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 75rem; background: var(--paper);
  color: var(--ink); font: 1rem/1.45 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.5rem; margin: 0; } h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; }
h3 { font-size: 1rem; margin: 1rem 0 .25rem; } p { margin: .25rem 0 .5rem; }
header p, caption, figcaption, .legend { color: var(--faint); font-size: .875rem; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; margin: .25rem 0 1rem; }
caption { text-align: left; padding-bottom: .25rem; }
th, td { text-align: left; vertical-align: top; padding: .3rem .7rem .3rem 0;
  border-bottom: 1px solid var(--line); overflow-wrap: normal; min-width: 3rem; }
tbody th { font-weight: 600; min-width: 5.8rem; max-width: 16rem; overflow-wrap: anywhere; }
td { max-width: 30rem; overflow-wrap: break-word; }
.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.w { white-space: nowrap; } tbody th.w { min-width: 3rem; } .side { width: 40%; }
thead th { font-size: .875rem; font-weight: 600; color: var(--faint); white-space: normal; }
.bar { display: block; width: 100%; min-width: 8rem; height: 1rem; margin: .2rem 0;
  border: 1px solid var(--faint); }
.bar text { font-size: 11px; fill: var(--ink); text-anchor: middle; paint-order: stroke;
  stroke: var(--paper); stroke-width: 4px; }
.legend { list-style: none; padding: 0; margin: .25rem 0 .5rem; display: flex; flex-wrap: wrap;
  gap: .25rem 1.25rem; }
.key { width: 1.5rem; height: .8rem; margin-right: .4rem; border: 1px solid var(--faint);
  vertical-align: -1px; }
.used, .rec { fill: var(--used); } .rest { fill: var(--none); }
.pre { fill: url(#pre); } .lost { fill: url(#lost); } .unknown { fill: url(#unknown); }
.away { fill: url(#away); } .part { fill: url(#part); } .gap { fill: url(#gap); }
.noid { fill: url(#noid); } .days { fill: url(#days); stroke: var(--line); }
details { border-top: 1px solid var(--line); padding: .35rem 0; }
summary { cursor: pointer; font-weight: 600; }
figure { margin: .5rem 0 .75rem; }
.cal { display: block; } .h, .d { font-size: 9px; fill: var(--faint); }
.h { text-anchor: end; }
.new, .changed { font-weight: 700; }
@media (max-width: 40rem) {
  body { padding: .6rem; font-size: .9rem; } th, td { padding-right: .5rem; }
  .bar { min-width: 6rem; } }
@media print {
  :root { --paper: #fff; --ink: #000; --faint: #444; --line: #bbb; --head: #fff;
    --used: #2f6ca8; --pre: #8fc1a9; --lost: #c2372f; --none: #f0f2f4; --noid: #a86200; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  .wide { overflow: visible; } .cal { max-width: 100%; height: auto; }
  tr, figure, .legend { break-inside: avoid; } h2, h3, summary, caption, thead { break-after: avoid; }
  details::details-content { content-visibility: visible; block-size: auto; }
}
</style>
)page"};
}

markup page_patterns() {
  return {R"page(<svg width="0" height="0" style="position:absolute" aria-hidden="true"><defs>
<pattern id="pre" width="6" height="6" patternUnits="userSpaceOnUse"><rect width="6" height="6" style="fill:var(--none)"/><circle cx="3" cy="3" r="1.6" style="fill:var(--pre)"/></pattern>
<pattern id="lost" width="6" height="6" patternUnits="userSpaceOnUse"><rect width="6" height="6" style="fill:var(--paper)"/><path d="M0 0L6 6M6 0L0 6" style="stroke:var(--lost);stroke-width:1.6"/></pattern>
<pattern id="unknown" width="6" height="6" patternUnits="userSpaceOnUse"><rect width="6" height="6" style="fill:var(--paper)"/><path d="M0 3H3" style="stroke:var(--faint)"/></pattern>
<pattern id="away" width="10" height="10" patternUnits="userSpaceOnUse"><rect width="10" height="10" style="fill:var(--paper)"/><path d="M-2 12L12 -2M3 17L17 3M-7 7L7 -7" style="stroke:var(--faint)"/></pattern>
<pattern id="part" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" style="fill:var(--none)"/><rect width="4" height="2" style="fill:var(--used)"/></pattern>
<pattern id="gap" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" style="fill:var(--paper)"/><path d="M-1 1L1 -1M0 4L4 0M3 5L5 3" style="stroke:var(--lost)"/></pattern>
<pattern id="noid" width="8" height="4" patternUnits="userSpaceOnUse"><rect width="8" height="4" style="fill:var(--noid)"/><circle cx="4" cy="2" r="1.2" style="fill:var(--paper)"/></pattern>
</defs></svg>
)page"};
}

}  // namespace report
