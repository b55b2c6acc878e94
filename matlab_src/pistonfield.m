function p = pistonfield(varargin)
  % pistonfield: the pressure of a flat rectangular piston at every point of a regular grid.
  %
  % USAGE
  %   p = pistonfield(transform, sizes, l, s, k)
  %   p = pistonfield(transform, sizes, l, s, k, mode)
  %   p = pistonfield(transform, sizes, l, s, k, mode, abscissas)
  %   pistonfield info
  %
  % INPUTS
  %   transform - 4 by 4, places the grid: the transpose of the matrix that takes lattice indices
  %               (ix, iy, iz, 1), counted from 0, to positions
  %   sizes     - [sx, sy, sz], the number of points along each lattice direction
  %   l         - the piston's side along y
  %   s         - the piston's side along x
  %   k         - the wavenumber, 2*pi / wavelength
  %
  %   The piston lies in the plane z = 0, centred on the origin; the field is meant for z >= 0.
  %   Lengths are in any one unit, k in radians per that unit.
  %
  % OPTIONAL INPUTS
  %   mode      - what computes: 'cuda' (when left out), a GPU in single precision; 'cudadp', a GPU
  %               in double; 'cpu' or 'cpudp', the CPU in double; 'cpusp', the CPU in single
  %   abscissas - the number of Gauss-Legendre abscissas of each edge integral, 10 when left out;
  %               or a table of abscissas and weights. An order of 0 on the CPU ends the process.
  %
  % OUTPUTS
  %   p         - complex double, sx by sy by sz, without unit: for the time dependence
  %               exp(+j*omega*t) it is k/(2*pi) times the integral of exp(-j*k*R)/R over the
  %               piston's surface. In front of a piston with the normal velocity u0 in a rigid
  %               baffle, j*rho*c*u0*p is the pressure in Pa.
  %
  %   'pistonfield info' prints when and from which revision the module was built.
  %   It was built with the backend @PISTONFIELD_BACKEND@.
  %
  % EXAMPLES
  %   % 200 points on the axis, every 0.5 mm, of a 5 mm by 7.5 mm piston
  %   step = 0.5e-3;
  %   place = [step 0 0 0; 0 step 0 0; 0 0 step step; 0 0 0 1];
  %   p = pistonfield(place.', [1 1 200], 5e-3, 7.5e-3, 2*pi/1.5e-3, 'cpu', 32);
  %   plot(step * (1:200), abs(p(:)));

  % SPDX-FileCopyrightText: the pistonfield developers
  % SPDX-License-Identifier: BSD-3-Clause

  % The module of the same name beside this file is what is called. This file is its help.
  error('pistonfield:noModule', 'The compiled module pistonfield is not beside %s.', ...
        mfilename('fullpath'));
end

%!function p = on_surface(position, l, s, k)
%!  distance = @(x, y) sqrt((position(1) - x).^2 + (position(2) - y).^2 + position(3)^2);
%!  integral = @(f) dblquad(@(x, y) f(k*distance(x, y)) ./ distance(x, y), ...
%!                          -s/2, s/2, -l/2, l/2, 1e-10);
%!  p = k / (2*pi) * (integral(@cos) - 1j*integral(@sin));
%!endfunction

%!shared place, l, s, k
%! l = 3;
%! s = 2;
%! k = 2.5;
%! place = [0.25 0 0 0; 0 0.5 0 0; 0 0 1 1; 0 0 0 1];

%!test
%! p = pistonfield(place.', [2 2 2], l, s, k, 'cpu', 40);
%! assert(size(p), [2 2 2]);
%! assert(p(2, 1, 2), on_surface([0.25 0 2], l, s, k), 1e-8);
%! assert(p(1, 2, 1), on_surface([0 0.5 1], l, s, k), 1e-8);

%!test
%! single_precision = 3e-6;
%! for mode = {'cuda', 'cudadp', 'cpusp'}
%!   p = pistonfield(place.', [2 1 1], l, s, k, mode{1}, 40);
%!   assert(p(2), on_surface([0.25 0 1], l, s, k), single_precision);
%! endfor

%!test
%! printed = evalc('pistonfield info');
%! assert(numel(strfind(printed, "\n")), 4);

%!error <Must have five or six input arguments> pistonfield(1)
