function piston = pistonfield_piston(shape, varargin)
  % pistonfield_piston: a flat piston of any shape, for pistonfield_pressure.
  %
  % DESCRIPTION
  %   Makes the struct of a piston: a rectangle, a disc, a ring, a sector of either, or a polygon,
  %   which may have holes. It lies in the plane z = 0 about the origin and radiates towards +z;
  %   'center' and 'orientation' move and turn it. Without an output the piston is drawn to scale.
  %
  %   The struct may be written by hand as well: its fields are shape and those of the inputs.
  %   Fields of pistons that are no rectangles are integrals along their outlines, in which arcs are
  %   arcs and no polygons. They are computed within a tolerance, in double precision on the CPU.
  %
  % USAGE
  %   piston = pistonfield_piston('rectangle', 'width', w, 'height', h)
  %   piston = pistonfield_piston('disc', 'radius', a)
  %   piston = pistonfield_piston('ring', 'inner', a, 'outer', b)
  %   piston = pistonfield_piston('sector', 'outer', b, 'angles', [from to])
  %   piston = pistonfield_piston('polygon', 'corners', xy)
  %   pistonfield_piston(...)
  %
  % INPUTS (names and values; lengths in m)
  %   'width'       - rectangle: side along x [m]
  %   'height'      - rectangle: side along y [m]
  %   'radius'      - disc: its radius [m]
  %   'inner'       - ring, sector: the radius where it begins [m]; 0, the default of a sector, leaves
  %                   no hole
  %   'outer'       - ring, sector: the radius where it ends [m]
  %   'angles'      - sector: where it begins and ends, from the x axis towards the y axis [degrees],
  %                   rising, by less than 360
  %   'corners'     - polygon: N by 2, x and y of its corners [m], in either sense of turning; its sides
  %                   must not cross
  %   'holes'       - polygon: cell array of the corners of holes in it, as those of the polygon;
  %                   default none
  %
  % OPTIONAL INPUTS (names and values)
  %   'center'      - where the piston's origin goes [m], 3-vector; default 0, 0, 0
  %   'orientation' - 3 by 3 rotation matrix whose columns are the piston's x, its y and its normal;
  %                   default eye(3)
  %
  % OUTPUTS
  %   piston        - struct with the fields shape and those of the inputs; of a rectangle without
  %                   shape
  %
  % EXAMPLES
  %   % A disc of 10 mm, on its axis at 1 MHz.
  %   disc = pistonfield_piston('disc', 'radius', 10e-3);
  %   z = (0:0.5:200) * 1e-3;
  %   p = pistonfield_pressure(disc, pistonfield_grid(0, 0, z), 'frequency', 1e6);
  %   plot(z, abs(p(:)));
  %
  %   % A look at a plate with a hole.
  %   square = [-1 -1; 1 -1; 1 1; -1 1];
  %   pistonfield_piston('polygon', 'corners', 10e-3 * square, 'holes', {4e-3 * square});
  %
  % See also: pistonfield_array, pistonfield_pressure, pistonfield_plot

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  caller = 'pistonfield_piston';
  require(nargin >= 1, caller, 'arguments', 'give the shape of a piston and its measures');
  require_module(caller);
  require_word(caller, 'shape', shape, {'rectangle', 'disc', 'ring', 'sector', 'polygon'});
  require(mod(numel(varargin), 2) == 0, caller, 'options', ...
          ['options come in pairs of a name and a value, as in ''radius'', 1e-3; ', ...
           'one is without the other']);
  piston = struct('shape', shape);
  if strcmp(shape, 'rectangle')
    piston = struct();
  end
  for i = 1:2:numel(varargin)
    name = varargin{i};
    require(ischar(name) && isvarname(name), caller, 'options', ...
            'argument %d must be a name, such as ''radius''', i + 1);
    piston.(name) = varargin{i + 1};
  end
  read_source(caller, piston);
  if nargout == 0
    pistonfield_plot(piston);
    clear piston;
  end
end

%!shared at, square
%! at = @(piston, varargin) pistonfield_pressure(piston, [1e-3 2e-3 9e-3], 'frequency', 1e6, ...
%!                                               'tolerance', 1e-10, varargin{:});
%! square = [-1 -1; 1 -1; 1 1; -1 1];

%!test % a struct of the inputs, which may be written by hand
%! disc = pistonfield_piston('disc', 'radius', 3e-3, 'center', [1 2 3]);
%! assert(disc, struct('shape', 'disc', 'radius', 3e-3, 'center', [1 2 3]));
%! assert(pistonfield_piston('rectangle', 'width', 1, 'height', 2), struct('width', 1, 'height', 2));

%!function p = on_axis(z, a, k)
%!  % rho*c*u0 times what comes from the face less what comes from the rim.
%!  p = 998 * 1482 * (exp(-1i * k * z) - exp(-1i * k * hypot(z, a)));
%!endfunction

%!test % on a disc's axis the pressure is that of its face less that of its rim
%! z = [0.3 1 7 40 300] * 1e-3;
%! for radius = [0.4 3 10] * 1e-3
%!   disc = pistonfield_piston('disc', 'radius', radius);
%!   p = pistonfield_pressure(disc, [zeros(5, 2), z.'], 'frequency', 1e6, 'tolerance', 1e-9);
%!   wanted = on_axis(z, radius, 2 * pi * 1e6 / 1482);
%!   assert(p(:).', wanted, 2e-9 * max(abs(wanted)));
%! end

%!test % a ring is a disc without another one, and sectors make up a disc
%! disc = @(radius) pistonfield_piston('disc', 'radius', radius);
%! whole = at(disc(5e-3));
%! ring = pistonfield_piston('ring', 'inner', 2e-3, 'outer', 5e-3);
%! assert(at(ring), whole - at(disc(2e-3)), 1e-9 * abs(whole));
%! assert(at(pistonfield_piston('ring', 'inner', 0, 'outer', 5e-3)), whole, 1e-9 * abs(whole));
%! part = @(varargin) at(pistonfield_piston('sector', 'outer', 5e-3, 'angles', varargin{:}));
%! assert(part([-30 60]) + part([60 330]), whole, 1e-9 * abs(whole));
%! assert(part([10 40], 'inner', 2e-3) + part([10 40] + [30 330], 'inner', 2e-3), at(ring), ...
%!        1e-9 * abs(whole));

%!test % a polygon of four corners is a rectangle, in either sense of turning, and may have holes
%! sides = {'width', 6e-3, 'height', 4e-3};
%! corners = [3 2] .* square * 1e-3;
%! wanted = at(struct(sides{:}));
%! for some = {corners, flipud(corners), single(corners)}
%!   polygon = pistonfield_piston('polygon', 'corners', some{1});
%!   assert(at(polygon), wanted, 1e-6 * abs(wanted));
%! end
%! holes = {square * 0.5e-3, square * 0.4e-3 + [2e-3 0]};
%! polygon = pistonfield_piston('polygon', 'corners', corners, 'holes', holes);
%! wanted = wanted - at(pistonfield_piston('polygon', 'corners', holes{1})) - ...
%!          at(pistonfield_piston('polygon', 'corners', holes{2}));
%! assert(at(polygon), wanted, 1e-8 * abs(wanted));

%!test % 'center' and 'orientation' move and turn it
%! turn = [cosd(20) 0 sind(20); 0 1 0; -sind(20) 0 cosd(20)];
%! sector = pistonfield_piston('sector', 'inner', 1e-3, 'outer', 4e-3, 'angles', [10 170]);
%! moved = setfield(setfield(sector, 'center', [5 6 7] * 1e-3), 'orientation', turn);
%! points = [1 2 9; -3 0.5 4] * 1e-3;
%! own = pistonfield_pressure(sector, points, 'frequency', 1e6, 'tolerance', 1e-10);
%! p = pistonfield_pressure(moved, points * turn.' + [5 6 7] * 1e-3, 'frequency', 1e6, ...
%!                          'tolerance', 1e-10);
%! assert(p, own, 1e-9 * max(abs(own)));
%! fail('at(setfield(sector, "center", [0 0 1]))', 'lies .* behind the plane of the piston');

%!test % nothing is printed, and without an output the piston is drawn
%! set(0, 'defaultfigurevisible', 'off');
%! restore = onCleanup(@() set(0, 'defaultfigurevisible', 'on'));
%! before = numel(get(0, 'children'));
%! assert(evalc('disc = pistonfield_piston("disc", "radius", 1e-3);'), '');
%! assert(numel(get(0, 'children')), before);
%! for shape = {{'disc', 'radius', 1e-3}, {'rectangle', 'width', 1e-3, 'height', 1e-3}}
%!   assert(evalc('pistonfield_piston(shape{1}{:});'), '');
%!   assert(numel(get(0, 'children')), before + 1);
%!   close(gcf());
%! end

%!error id=pistonfield:pistonfield_piston:arguments pistonfield_piston()
%!error <shape must be one of: rectangle, disc, ring> pistonfield_piston('circle', 'radius', 1)
%!error <options come in pairs> pistonfield_piston('disc', 'radius')
%!error <argument 2 must be a name> pistonfield_piston('disc', 7, 8)
%!error <piston.radius: is missing> pistonfield_piston('disc')
%!error <piston.radius: must be a length above 0> pistonfield_piston('disc', 'radius', -1)
%!error <piston.radius: must be one number> pistonfield_piston('disc', 'radius', [1 2])
%!error <piston.radius must be real, finite numbers> pistonfield_piston('disc', 'radius', NaN)
%!error <piston.radius must be real, finite numbers> pistonfield_piston('disc', 'radius', [])
%!error <piston.radius must be real, finite numbers> pistonfield_piston('disc', 'radius', 'big')
%!error <piston.width is no field of a disc; there are: shape, radius, center, orientation>
%! pistonfield_piston('disc', 'radius', 1, 'width', 2);
%!error <piston.radius is no field of a piston> pistonfield_piston('rectangle', 'radius', 1)
%!error <piston.width is missing> pistonfield_piston('rectangle', 'height', 1)
%!error <piston.inner: must be less than the outer> pistonfield_piston('ring', 'inner', 2, 'outer', 1)
%!error <piston.inner: is missing> pistonfield_piston('ring', 'outer', 1)
%!error <piston.inner: must be a length, or 0> pistonfield_piston('ring', 'inner', -1, 'outer', 1)
%!error <piston.angles: must be two> pistonfield_piston('sector', 'outer', 1, 'angles', 30)
%!error <piston.angles: must rise> pistonfield_piston('sector', 'outer', 1, 'angles', [30 0])
%!error <piston.angles: must rise> pistonfield_piston('sector', 'outer', 1, 'angles', [0 360])
%!error <piston.corners must be .* N by 2> pistonfield_piston('polygon', 'corners', ones(2, 5))
%!error <piston.corners must be .* N by 2> pistonfield_piston('polygon', 'corners', [0 0; 1 Inf; 1 1])
%!error <piston.corners: a polygon has three> pistonfield_piston('polygon', 'corners', [0 0; 1 0])
%!error <piston.corners: a polygon has three> pistonfield_piston('polygon')
%!error <piston.corners: two of its edges cross>
%! pistonfield_piston('polygon', 'corners', [0 0; 2 0; 0 1; 3 4]);
%!error <piston.corners: .* no area> pistonfield_piston('polygon', 'corners', [0 0; 1 0; 2 0])
%!error <piston.holes must be a cell array>
%! pistonfield_piston('polygon', 'corners', square, 'holes', square / 2);
%!error <piston.holes must be real, finite numbers, N by 2>
%! pistonfield_piston('polygon', 'corners', square, 'holes', {1});
%!error <piston.holes: must lie inside of the polygon>
%! pistonfield_piston('polygon', 'corners', square, 'holes', {square + 5});
%!error <piston.holes: must lie beside each other>
%! pistonfield_piston('polygon', 'corners', square, 'holes', {square / 2, square / 4});
%!error <piston.center must be three> pistonfield_piston('disc', 'radius', 1, 'center', 1)
%!error <piston.orientation must be a 3 by 3 rotation>
%! pistonfield_piston('disc', 'radius', 1, 'orientation', -eye(3));
%!error id=pistonfield:pistonfield_pressure:piston at(struct('shape', 'disc', 'radius', NaN))
%!error <pistonfield_pressure: piston.shape must be one of: disc> at(struct('shape', 'round'))
%!error <piston.shape must be one of> at(struct('shape', 7))
%!error <other shapes than rectangles .* there is no order>
%! at(struct('shape', 'disc', 'radius', 1e-3), 'tolerance', [], 'order', 9);
%!error <takes rectangles alone> pistonfield_order(struct('shape', 'disc', 'radius', 1e-3), ...
%!                                                 pistonfield_grid(0, 0, 1), 'frequency', 1e6)
