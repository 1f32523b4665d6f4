-- Trailbook: shows the next step of the route that the player has chosen.
Trailbook = { routes = {}, step = 1 }

function Trailbook:AddRoute(name, steps)
    self.routes[name] = steps
end

function Trailbook:Next(name)
    local steps = self.routes[name]
    self.step = math.min(self.step + 1, #steps)
    return steps[self.step]
end
